#include "mime/text_lines.h"

#include <cstring>

#include "bytes/ascii.h"

namespace eml {

uint8_t* LineEnds::normalize(uint8_t* begin, uint8_t* end) {
    const uint8_t* pos = begin;
    uint8_t* out = begin;
    while (pos < end) {
        if (afterCr_ && *pos == kLf) ++pos;
        afterCr_ = false;
        if (pos == end) break;
        const void* const found = std::memchr(pos, kCr, static_cast<size_t>(end - pos));
        const uint8_t* const cr = found != nullptr ? static_cast<const uint8_t*>(found) : end;
        const auto count = static_cast<size_t>(cr - pos);
        if (out != pos) std::memmove(out, pos, count);
        out += count;
        if (cr == end) break;
        *out++ = kLf;
        afterCr_ = true;
        pos = cr + 1;
    }
    return out;
}

}  // namespace eml
