// write(2), repeated until everything is written.
#ifndef EMLREADER_STANDALONE_WRITE_ALL_H
#define EMLREADER_STANDALONE_WRITE_ALL_H

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <span>

namespace emlhost {

// Returns 0 or an errno.
inline int writeAll(int descriptor, std::span<const uint8_t> bytes) noexcept {
    while (!bytes.empty()) {
        ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        if (written == 0) return EIO;  // there is no other cause, and repeating might never end
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return 0;
}

// The same at a position of a file.
inline int writeAllAt(int descriptor, uint64_t position, std::span<const uint8_t> bytes) noexcept {
    while (!bytes.empty()) {
        ssize_t written = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(position));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        if (written == 0) return EIO;
        position += static_cast<uint64_t>(written);
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return 0;
}

}  // namespace emlhost

#endif
