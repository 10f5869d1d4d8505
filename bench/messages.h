// The generated messages as the benchmarks use them: read through each kind of input.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "standalone/input.h"

namespace emlbench {

// A message file and its bytes.
struct MessageFile {
    std::string path;
    std::vector<uint8_t> bytes;
};

// Reads `path` whole. Ends the program with a message when that fails.
MessageFile loadMessage(const std::string& path);

enum class Host { kMapped, kPread, kMemory };

// "mapped host", "pread host", "memory host".
const char* nameOf(Host host);

// The message through `host`; NULL when the file cannot be opened.
std::unique_ptr<emlhost::Input> openInput(const MessageFile& file, Host host);

}  // namespace emlbench
