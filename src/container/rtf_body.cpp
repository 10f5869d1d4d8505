#include "container/rtf_body.h"

#include <algorithm>

#include "bytes/cursor.h"
#include "container/packed_rtf.h"
#include "host/host_file.h"
#include "host/host_memory.h"

namespace eml {

namespace {

// After a preamble the text continues its group, without an opening brace of its own.
void writeText(EmlIOobj& output, Cursor text) {
    if (text.atEnd()) return;
    const bool afterHeader = output.tell != nullptr && output.tell(&output) > 0;
    if (afterHeader && text.startsWithNoCase("{\\rtf1")) text.skip(1);
    writeFile(output, text.pos, static_cast<uint32_t>(text.left()));
}

void writeUnpacked(EmlAllocator& allocator, const PackedRtf& packed, EmlIOobj& output) {
    const uint64_t limit = unpackedLimit(packed);
    const ScopedBlock block(allocator, kRtfDictionarySize + limit);
    if (block.bytes() == nullptr) return;
    const uint64_t length = unpackRtf(packed, block.bytes(), limit);
    const uint8_t* const text = block.bytes() + kRtfDictionarySize;
    writeText(output, {text, text + length});
}

}  // namespace

void writeRtfBody(EmlAllocator& allocator, const uint8_t* body, uint32_t length, EmlIOobj& output) {
    const Cursor whole{body, body + length};
    // KEPT: a body of 17 bytes or more is taken to carry the header of packed RTF, so that plain RTF loses 16
    // bytes.
    if (length <= kPackedRtfHeaderSize) {
        writeText(output, whole);
        return;
    }
    const PackedRtf packed = readPackedRtfHeader(whole);
    if (packed.kind == PackedRtfKind::kCompressed) {
        writeUnpacked(allocator, packed, output);
        return;
    }
    Cursor text = packed.content;
    if (packed.kind == PackedRtfKind::kStored) {
        text.end = text.pos + std::min<uint64_t>(packed.rawSize, text.left());
    }
    writeText(output, text);
}

}  // namespace eml
