// Runs of ordinary text.
#pragma once

#include <cstdint>
#include <cstring>

#include "bytes/ascii.h"

namespace eml {

// A zero byte, a tab, LF and CR end a run of text.
[[nodiscard]] constexpr bool endsTextRun(uint8_t byte) {
    return byte == 0 || byte == '\t' || isLineEnd(byte);
}

// The first byte in [pos, end) that ends a run, or `end`. All of them are below 14, so that eight bytes that
// are not are passed at once.
[[nodiscard]] inline const uint8_t* findTextRunEnd(const uint8_t* pos, const uint8_t* end) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    constexpr uint64_t kHighBits = kOnes << 7;
    for (;;) {
        while (end - pos >= 8) {
            uint64_t bytes = 0;
            std::memcpy(&bytes, pos, sizeof bytes);
            if (((bytes - kOnes * 14) & ~bytes & kHighBits) != 0) break;
            pos += 8;
        }
        const uint8_t* const stop = end - pos < 8 ? end : pos + 8;
        while (pos < stop && !endsTextRun(*pos)) ++pos;
        if (pos < stop || pos == end) return pos;
    }
}

}  // namespace eml
