// Lines out of pieces of any size, for encodings whose lines are short. CR, LF and CR LF end a line: after CR LF an
// empty line is seen, which none of those encodings minds.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "bytes/decode_kernels.h"

namespace eml {

// What is given of a line.
struct LinePiece {
    std::string_view text;
    uint64_t place;  // of the line's first byte in the file
    bool first;      // the line begins here
    bool last;       // and ends here
};

// Gives lines of at most `Most` bytes whole; a longer one comes in pieces, wherever the input was cut.
template <size_t Most>
class LineSplitter {
  public:
    explicit LineSplitter(const DecodeKernels& kernels) : kernels_(kernels) {}

    // `take` is called with each LinePiece.
    template <class Take>
    void feed(const uint8_t* pos, const uint8_t* end, uint64_t place, Take take) {
        while (pos < end) {
            const uint8_t* zero = nullptr;
            const uint8_t* const lineEnd = kernels_.findLineEnd(pos, end, zero);
            if (fill_ == 0 && first_) place_ = place;
            const auto count = static_cast<size_t>(lineEnd - pos);
            if (lineEnd != end && fill_ == 0 && first_ && count <= Most) {
                take(LinePiece{textOf(pos, count), place_, true, true});
            } else {
                hold(pos, lineEnd, take);
                if (lineEnd != end) release(true, take);
            }
            const size_t used = count + (lineEnd != end ? 1 : 0);
            pos += used;
            place += used;
        }
    }

    // The data has ended: gives the last line if it has no line end.
    template <class Take>
    void finish(Take take) {
        if (fill_ != 0 || !first_) release(true, take);
    }

  private:
    static std::string_view textOf(const uint8_t* pos, size_t count) {
        return {reinterpret_cast<const char*>(pos), count};
    }

    template <class Take>
    void hold(const uint8_t* pos, const uint8_t* end, Take& take) {
        while (pos < end) {
            if (fill_ == Most) release(false, take);
            const size_t count = std::min(static_cast<size_t>(end - pos), Most - fill_);
            std::memcpy(held_.data() + fill_, pos, count);
            fill_ += count;
            pos += count;
        }
    }

    template <class Take>
    void release(bool last, Take& take) {
        take(LinePiece{textOf(held_.data(), fill_), place_, first_, last});
        fill_ = 0;
        first_ = last;
    }

    const DecodeKernels& kernels_;
    uint64_t place_ = 0;
    size_t fill_ = 0;
    bool first_ = true;  // what is held begins a line
    std::array<uint8_t, Most> held_{};
};

}  // namespace eml
