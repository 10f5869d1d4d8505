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
constexpr ptrdiff_t kInputAhead = kWide + 1;  // a run, what ends it and an LF after that
constexpr ptrdiff_t kLongestOutput = ptrdiff_t{kTextHeaderSize} + kWide + 8;  // a text and another record

// The length of the run at `pos`, or kWide where it is not shorter than that. A byte below 14 that ends no run
// counts as kWide too.
ptrdiff_t shortRun(const uint8_t* pos) {
    if constexpr (std::endian::native == std::endian::little) {
        constexpr uint64_t kOnes = 0x0101010101010101;
        uint64_t bytes = 0;
        std::memcpy(&bytes, pos, sizeof bytes);
        const uint64_t low = (bytes - kOnes * 14) & ~bytes & (kOnes << 7);
        if (low == 0) return kWide;
        const ptrdiff_t length = std::countr_zero(low) / 8;
        return endsTextRun(pos[length]) ? length : kWide;
    } else {
        return std::find_if(pos, pos + kWide, endsTextRun) - pos;
    }
}

// Each puts one record and returns the position after it.
uint8_t* putShortText(uint8_t* out, const uint8_t* text, ptrdiff_t length) {
    *out = kTagText;
    writeLittleEndian32(out + 1, static_cast<uint32_t>(length) + kTextHeaderSize);
    writeLittleEndian32(out + 5, static_cast<uint32_t>(length));
    out += kTextHeaderSize;
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

}  // namespace

void writeShortRuns(EmlFilterContext& context) {
    const uint8_t* pos = context.input.readPos;
    const uint8_t* const end = context.input.end;
    uint8_t* out = context.output.next;
    const auto inHostBuffer = static_cast<ptrdiff_t>(textRoom(context));
    const uint8_t* const outEnd = out + std::min(inHostBuffer, context.output.end - out);
    while (end - pos >= kInputAhead && outEnd - out >= kLongestOutput) {
        const ptrdiff_t length = shortRun(pos);
        if (length == kWide) break;
        if (length != 0) out = putShortText(out, pos, length);
        pos += length;
        const uint8_t byte = *pos++;
        if (isLineEnd(byte)) {
            out = putLineBreak(out);
            if (byte == kCr && *pos == kLf) ++pos;
        } else if (byte == '\t') {
            out = putTab(out);
        }
    }
    context.input.readPos = pos;
    context.output.next = out;
}

}  // namespace eml
