// The bytes of a file.
#pragma once

#include <string>
#include <utility>

#include "standalone/unique_descriptor.h"
#include "tool/archive/byte_source.h"
#include "tool/archive/message_source.h"

namespace emltool {

class FileBytes final : public ByteSource {
  public:
    // Opens `path`. Throws Problem.
    explicit FileBytes(const std::string& path);

    // For a file that is open already; `path` is what problems call it.
    FileBytes(std::string path, SharedFile file) : path_(std::move(path)), file_(std::move(file)) {}

    Got readAt(uint64_t position, std::span<char> room, size_t& count) override;

  private:
    std::string path_;
    SharedFile file_;
};

// Throws Problem.
emlhost::UniqueDescriptor openFile(const std::string& path);

// What is at this place of a file; 0 is its end. Throws Problem.
size_t readSome(const std::string& path, int file, uint64_t position, std::span<char> room);

}  // namespace emltool
