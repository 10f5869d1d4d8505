// What the kernels for quoted-printable text do where a run of plain bytes stops.
#pragma once

#include "bytes/ascii.h"
#include "bytes/decode_kernels.h"
#include "bytes/decode_tables.h"

namespace eml {

[[nodiscard]] constexpr uint8_t escapedByte(uint8_t high, uint8_t low) {
    return static_cast<uint8_t>((high << 4 | low) & 0xFF);
}

// Whether two hexadecimal digits follow the "=" at `pos`.
[[nodiscard]] constexpr bool isDigitPair(const uint8_t* pos) {
    return (kHexTable[pos[1]] | kHexTable[pos[2]]) < 16;
}

// Passes what stands at `pos`: an underscore, a soft line break, or an escape whose byte no rule touches, and with
// `DigitsOnly` only one of two digits. False when the state machine has to look at it.
template <bool DigitsOnly = false>
[[nodiscard]] inline bool passQuotedStop(const uint8_t*& pos, const uint8_t* end, QuotedStops stops,
                                         uint8_t*& out) {
    if (*pos == '_') {
        *out++ = ' ';
        ++pos;
        return true;
    }
    if (end - pos < 3) return false;
    if (isLineEnd(pos[1])) {
        pos += pos[1] == kCr && pos[2] == kLf ? 3 : 2;
        return true;
    }
    if constexpr (DigitsOnly) {
        if (!isDigitPair(pos)) return false;
    }
    const uint8_t byte = escapedByte(kHexTable[pos[1]], kHexTable[pos[2]]);
    if (byte == stops.byte1 || byte == stops.byte2) return false;
    *out++ = byte;
    pos += 3;
    return true;
}

}  // namespace eml
