#include "tool/archive/file_bytes.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace emltool {

namespace {

[[noreturn]] void failToRead(const std::string& path, int failure) {
    throw inputProblem(path, {failure, std::system_category()});
}

}  // namespace

emlhost::UniqueDescriptor openFile(const std::string& path) {
    emlhost::UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file.valid()) failToRead(path, errno);
    return file;
}

size_t readSome(const std::string& path, int file, uint64_t position, std::span<char> room) {
    for (;;) {
        ssize_t got = ::pread(file, room.data(), room.size(), static_cast<off_t>(position));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failToRead(path, errno);
        return static_cast<size_t>(got);
    }
}

FileBytes::FileBytes(const std::string& path)
    : path_(path), file_(std::make_shared<emlhost::UniqueDescriptor>(openFile(path))) {}

ByteSource::Got FileBytes::readAt(uint64_t position, std::span<char> room, size_t& count) {
    count = readSome(path_, file_->get(), position, room);
    return count > 0 ? Got::kBytes : Got::kEnd;
}

}  // namespace emltool
