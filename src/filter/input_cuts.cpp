#include "filter/input_cuts.h"

#include <algorithm>
#include <cstring>

#include "bytes/ascii.h"

namespace eml {

namespace {

// The offset of the first zero byte at or after `from`, or `count`.
int32_t zeroAt(const uint8_t* bytes, int32_t from, int32_t count) {
    const void* zero = std::memchr(bytes + from, 0, static_cast<size_t>(count - from));
    return zero != nullptr ? static_cast<int32_t>(static_cast<const uint8_t*>(zero) - bytes) : count;
}

bool startsWithBoundary(const uint8_t* bytes, int32_t count, const BoundaryNeedle& boundary) {
    return boundary.length <= count && bytes[0] == static_cast<uint8_t>(boundary.text[0]) &&
           equalNoCase(bytes, boundary.text, static_cast<size_t>(boundary.length));
}

// The first occurrence in any of the zero-terminated pieces, as an offset; `count` without one.
int32_t firstInPieces(const uint8_t* bytes, int32_t count, const BoundaryNeedle& boundary) {
    for (int32_t piece = 0; piece < count;) {
        const int32_t end = zeroAt(bytes, piece, count);
        const uint8_t* hit = boundary.finder.find(bytes + piece, bytes + end);
        if (hit != nullptr) return static_cast<int32_t>(hit - bytes);
        piece = end + 1;
    }
    return count;
}

// The last occurrence, each looked for after the one before it; `count` without one.
int32_t lastOccurrence(const uint8_t* bytes, int32_t count, const BoundaryNeedle& boundary) {
    int32_t last = count;
    for (const uint8_t* from = bytes; from < bytes + count;) {
        const uint8_t* hit = boundary.finder.find(from, bytes + count);
        if (hit == nullptr) break;
        last = static_cast<int32_t>(hit - bytes);
        from = hit + boundary.length;
    }
    return last;
}

// The offset of the last such byte at or before `from`, or -1.
int32_t lastAt(const uint8_t* bytes, int32_t from, uint8_t byte) {
    return static_cast<int32_t>(indexAfterLast(bytes, static_cast<size_t>(from) + 1, byte)) - 1;
}

// The offset after the last empty line, or 0. Offset 0 itself is never looked at.
int32_t afterEmptyLine(const uint8_t* bytes, int32_t from, const LineEnd& lineEnd) {
    const auto width = static_cast<int32_t>(lineEnd.width);
    for (int32_t at = lastAt(bytes, from, lineEnd.bytes[0]); at > width;) {
        const int32_t before = at - width;
        if (bytes[before] == lineEnd.bytes[0]) return at + width;
        at = lastAt(bytes, before - 1, lineEnd.bytes[0]);
    }
    return 0;
}

int32_t afterLineEnd(const uint8_t* bytes, int32_t from, const LineEnd& lineEnd) {
    const int32_t at = lastAt(bytes, from, lineEnd.bytes[0]);
    return at >= 1 ? at + static_cast<int32_t>(lineEnd.width) : 0;
}

}  // namespace

LineEnd detectLineEnd(const uint8_t* bytes, int32_t count) {
    LineEnd found{};
    for (int32_t at = 0; at < count;) {
        const uint8_t byte = bytes[at];
        const bool lfFollows = at + 1 < count && bytes[at + 1] == kLf;
        if (isLineEnd(byte) && found.width == 0) {
            found = {{byte, lfFollows ? kLf : uint8_t{0}}, lfFollows ? 2U : 1U};
        } else if (byte == kCr && lfFollows) {
            found = {{kCr, kLf}, 2};
        }
        if (found.width == 2) break;  // settled: nothing later changes it
        ++at;
    }
    return found;
}

int32_t boundaryCut(const uint8_t* bytes, int32_t count, const BoundaryNeedle& boundary) {
    if (count < 1 || boundary.length < 1 || boundary.text[0] == '\0') return 0;
    const int32_t zero = zeroAt(bytes, 0, count);
    if (zero >= count) return count - lastOccurrence(bytes, count, boundary);
    if (startsWithBoundary(bytes, zero, boundary)) return count - (zero + 1);
    return count - firstInPieces(bytes, count, boundary);
}

int32_t lineCut(const uint8_t* bytes, int32_t count, const LineEnd& lineEnd) {
    if (lineEnd.width == 0) return 0;
    const int32_t from = count - static_cast<int32_t>(lineEnd.width);
    if (from <= 0) return 0;
    int32_t cut = afterEmptyLine(bytes, from, lineEnd);
    if (cut == 0) cut = afterLineEnd(bytes, from, lineEnd);
    return cut == 0 ? 0 : count - std::min(cut, count);
}

}  // namespace eml
