#include "container/packed_rtf.h"

#include <algorithm>
#include <cstring>

#include "bytes/little_endian.h"

namespace eml {

namespace {

// MS-OXRTFCP section 2.1.3.1.1. KEPT: line feed stands before carriage return.
constexpr std::string_view kDictionary =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS Sans "
    "SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\n\r\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(kDictionary.size() == kRtfDictionarySize);

constexpr uint64_t kWindow = 4096;

struct Unpacking {
    uint8_t* text;  // the dictionary and what has been unpacked
    uint64_t length;
    uint64_t limit;
};

// Copies byte by byte: a reference may reach into what it writes itself.
void copyReference(Unpacking& unpacking, uint32_t first, uint32_t second) {
    const uint64_t offset = first << 4 | second >> 4;
    uint64_t from = offset + unpacking.length / kWindow * kWindow;
    if (from >= unpacking.length) {
        if (from < kWindow) return;  // before the first byte: nothing to copy
        from -= kWindow;
    }
    const uint64_t end = std::min<uint64_t>(unpacking.length + (second & 0x0F) + 2, unpacking.limit);
    while (unpacking.length < end) unpacking.text[unpacking.length++] = unpacking.text[from++];
}

// One literal or one reference. False when the content lacks its second byte.
bool unpackToken(Unpacking& unpacking, Cursor& content, bool isReference) {
    const uint8_t first = content.peek();
    content.skip(1);
    if (!isReference) {
        unpacking.text[unpacking.length++] = first;
        return true;
    }
    if (content.atEnd()) return false;
    const uint8_t second = content.peek();
    content.skip(1);
    copyReference(unpacking, first, second);
    return true;
}

}  // namespace

PackedRtf readPackedRtfHeader(Cursor body) {
    PackedRtf packed{PackedRtfKind::kOther, readLittleEndian32(body.pos + 4), body};
    packed.content.skip(kPackedRtfHeaderSize);
    if (std::memcmp(body.pos + 8, "LZFu", 4) == 0) packed.kind = PackedRtfKind::kCompressed;
    if (std::memcmp(body.pos + 8, "MELA", 4) == 0) packed.kind = PackedRtfKind::kStored;
    return packed;
}

uint64_t unpackedLimit(const PackedRtf& packed) {
    // Eight references and their control byte are 17 bytes, and give at most 8 * 17.
    return std::min<uint64_t>(packed.rawSize, uint64_t{packed.content.left()} * 8 + 16);
}

uint64_t unpackRtf(const PackedRtf& packed, uint8_t* room, uint64_t limit) {
    std::memcpy(room, kDictionary.data(), kDictionary.size());
    Unpacking unpacking{room, kRtfDictionarySize, kRtfDictionarySize + limit};
    Cursor content = packed.content;
    bool complete = true;
    while (complete && unpacking.length < unpacking.limit && !content.atEnd()) {
        uint32_t control = content.peek();
        content.skip(1);
        for (int token = 0; token < 8 && complete && unpacking.length < unpacking.limit && !content.atEnd();
             ++token) {
            complete = unpackToken(unpacking, content, (control & 1) != 0);
            control >>= 1;
        }
    }
    return unpacking.length - kRtfDictionarySize;
}

}  // namespace eml
