// Bytes that are asked for by their place: those of a file, or of a stream, of which more are still to come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace emltool {

class ByteSource {
  public:
    enum class Got {
        kBytes,  // at least one
        kLater,  // there are none yet
        kEnd     // there will be none: the place is the end, or behind it
    };

    virtual ~ByteSource() = default;

    // Puts what is at `position` into `room`, as much as is at hand, and sets `count`. Throws Problem.
    virtual Got readAt(uint64_t position, std::span<char> room, size_t& count) = 0;

    // How far bytes may be asked for behind those that were asked for before.
    virtual uint64_t reach() const { return std::numeric_limits<uint64_t>::max(); }
};

}  // namespace emltool
