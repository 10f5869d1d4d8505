// Where the input buffer is cut: pure functions over its bytes.
#pragma once

#include <cstdint>

#include "bytes/find.h"

namespace eml {

// The line ends of a message: CR LF (width 2), LF or CR (width 1, the second byte 0). Width 0 is "not known".
struct LineEnd {
    uint8_t bytes[2];
    uint32_t width;
};

// The line end of a message by its first buffer with one. The first CR or LF settles it, together with an LF
// after it; a later CR LF in the same buffer turns a single one into CR LF. KEPT: LF LF counts as a line end
// of two bytes.
[[nodiscard]] LineEnd detectLineEnd(const uint8_t* bytes, int32_t count);

struct BoundaryNeedle {
    const char* text;  // zero-terminated
    int32_t length;
    const SubstringFinder& finder;
};

// How many bytes at the end of the buffer are kept back for the next one, so that this one ends before a
// boundary. In a buffer without zero bytes the last occurrence counts; in one with zero bytes the first,
// unless the boundary stands at its start: then the cut is after the first zero. 0 is no cut.
[[nodiscard]] int32_t boundaryCut(const uint8_t* bytes, int32_t count, const BoundaryNeedle& boundary);

// The same, so that the buffer ends after its last empty line, or else after its last line end.
[[nodiscard]] int32_t lineCut(const uint8_t* bytes, int32_t count, const LineEnd& lineEnd);

}  // namespace eml
