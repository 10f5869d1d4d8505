// Text of many short runs.
#include <algorithm>
#include <bit>
#include <cstring>

#include "bytes/little_endian.h"
#include "bytes/text_run.h"
#include "filter/record_stream.h"

namespace eml {

namespace {

constexpr ptrdiff_t kWide = sizeof(uint64_t);
constexpr ptrdiff_t kInputAhead = kWide + 1;  // an LF after what is looked at together
static_assert(kWide == kShortRun);
constexpr ptrdiff_t kLongestOutput = 10 * kWide;  // a letter and a tab, 16 bytes, come of every two

// The high bits of the bytes that may end a run of text: all that do, and some other control characters.
uint64_t runEnds(const uint8_t* pos) {
    uint64_t ends = 0;
    if constexpr (std::endian::native == std::endian::little) {
        constexpr uint64_t kOnes = 0x0101010101010101;
        uint64_t bytes = 0;
        std::memcpy(&bytes, pos, sizeof bytes);
        ends = (bytes - kOnes * 14) & ~bytes & (kOnes << 7);
    } else {
        for (int i = 0; i < kWide; ++i) ends |= (endsTextRun(pos[i]) ? uint64_t{0x80} : 0) << (8 * i);
    }
    return ends;
}

// Each puts one record and returns the position after it.
uint8_t* putShortText(uint8_t* out, const uint8_t* text, ptrdiff_t length) {
    *out = kTagText;
    writeLittleEndian32(out + 1, static_cast<uint32_t>(length) + kTextHeaderSize);
    writeLittleEndian32(out + 5, static_cast<uint32_t>(length));
    out += kTextHeaderSize;
    if (length == 1) {
        *out = *text;
        return out + 1;
    }
    for (ptrdiff_t size = kWide / 2; size != 0; size /= 2) {
        if ((length & size) == 0) continue;
        std::memcpy(out, text, static_cast<size_t>(size));
        out += size;
        text += size;
    }
    return out;
}

uint8_t* putLineBreak(uint8_t* out) {
    *out = kTagLineBreak;
    writeLittleEndian32(out + 1, 5);
    return out + 5;
}

uint8_t* putTab(uint8_t* out) {
    *out = kTagTab;
    writeLittleEndian32(out + 1, 6);
    out[5] = 0;
    return out + 6;
}

// Writes the runs that end within the next kWide bytes. Moves `pos` to the first one that does not, or to what looks
// like an end and is none.
uint8_t* putRuns(const uint8_t*& pos, uint8_t* out) {
    const uint8_t* const block = pos;
    for (uint64_t ends = runEnds(block); ends != 0; ends &= ends - 1) {
        const uint8_t* const at = block + std::countr_zero(ends) / 8;
        if (at < pos) continue;  // the LF of CR LF
        const uint8_t byte = *at;
        if (!endsTextRun(byte)) break;
        if (at != pos) out = putShortText(out, pos, at - pos);
        pos = at + 1;
        if (byte == 0) continue;
        if (isLineEnd(byte)) {
            out = putLineBreak(out);
            if (byte == kCr && *pos == kLf) ++pos;
        } else {
            out = putTab(out);
        }
    }
    return out;
}

}  // namespace

void writeShortRuns(EmlFilterContext& context) {
    const uint8_t* pos = context.input.readPos;
    const uint8_t* const end = context.input.end;
    uint8_t* out = context.output.next;
    const auto inHostBuffer = static_cast<ptrdiff_t>(textRoom(context));
    const uint8_t* const outEnd = out + std::min(inHostBuffer, context.output.end - out);
    while (end - pos >= kInputAhead && outEnd - out >= kLongestOutput) {
        const uint8_t* const before = pos;
        out = putRuns(pos, out);
        if (pos == before) break;
    }
    context.input.readPos = pos;
    context.output.next = out;
}

}  // namespace eml
