#include "tool/text/packed_rtf.h"

#include <algorithm>
#include <string_view>

namespace emltool {

namespace {

using Bytes = std::span<const uint8_t>;

// What a packed text can refer back to from its first byte (MS-OXRTFCP section 2.1.3.1.1).
constexpr std::string_view kDictionary =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS Sans "
    "SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(kDictionary.size() == 207);

constexpr size_t kHeader =
    16;  // sizes packed and unpacked, kind, checksum; each of 4 bytes, the lowest first
constexpr uint32_t kCompressed = 0x75465A4C;
constexpr uint32_t kStored = 0x414C454D;
constexpr size_t kWindow = 4096;

uint32_t number(Bytes bytes, size_t at) {
    uint32_t value = 0;
    for (size_t i = 4; i-- > 0;) value = value << 8 | bytes[at + i];
    return value;
}

// `text` begins with the dictionary: position p of the ring is the last byte whose index is p modulo its size.
// Returns true at the end mark.
bool unpack(Bytes packed, size_t limit, std::vector<uint8_t>& text) {
    size_t at = 0;
    while (at < packed.size()) {
        unsigned flags = packed[at++];
        for (int i = 0; i < 8; ++i, flags >>= 1) {
            if ((flags & 1) == 0) {
                if (at >= packed.size() || text.size() >= limit) return false;
                text.push_back(packed[at++]);
                continue;
            }
            if (packed.size() - at < 2) return false;
            const size_t token = size_t{packed[at]} << 8 | packed[at + 1];
            at += 2;
            const size_t position = token >> 4;
            const size_t length = (token & 0xF) + 2;
            const size_t distance = (text.size() - position) % kWindow;
            if (distance == 0) return true;
            if (distance > text.size() || length > limit - text.size()) return false;
            for (size_t k = 0; k < length; ++k) text.push_back(text[text.size() - distance]);
        }
    }
    return false;
}

}  // namespace

UnpackedRtf unpackRtf(Bytes packed, size_t limit) {
    UnpackedRtf result{{}, false};
    if (packed.size() < kHeader) return result;
    const size_t claimed = number(packed, 4);
    const uint32_t kind = number(packed, 8);
    const Bytes content = packed.subspan(kHeader);
    if (kind == kStored) {
        const Bytes text = content.first(std::min({claimed, content.size(), limit}));
        result.bytes.assign(text.begin(), text.end());
        result.complete = text.size() == claimed;
    } else if (kind == kCompressed) {
        result.bytes.assign(kDictionary.begin(), kDictionary.end());
        result.complete = unpack(content, kDictionary.size() + limit, result.bytes);
        result.bytes.erase(result.bytes.begin(), result.bytes.begin() + kDictionary.size());
        // Some writers leave the end mark out.
        result.complete = result.complete || (claimed > 0 && result.bytes.size() >= claimed);
        if (result.bytes.size() > claimed) result.bytes.resize(claimed);
    }
    return result;
}

}  // namespace emltool
