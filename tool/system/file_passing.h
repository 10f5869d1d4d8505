// Open files that go from one process to another, with bytes that say what for.
#pragma once

#include <sys/types.h>

#include <deque>
#include <span>
#include <string_view>

#include "standalone/unique_descriptor.h"

namespace emltool {

// Sends what the socket takes now, and the file with the first byte; -1 is no file. Returns how much that is; -1 on
// failure, with errno.
ssize_t sendWithFile(int socket, std::string_view bytes, int file);

// Waits for bytes. Adds the file that came with one of them. Returns 0 at the end, -1 on failure.
ssize_t receiveWithFiles(int socket, std::span<char> room, std::deque<emlhost::UniqueDescriptor>& files);

}  // namespace emltool
