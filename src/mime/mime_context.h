// The records of the MIME reader. All are trivial and made zeroed: zero is the initial state.
#pragma once

#include <emlreader/eml_mime.h>

#include "bytes/decode_kernels.h"
#include "host/growing_buffer.h"

namespace eml {

inline constexpr uint32_t kMimeBlockSize = 64 << 10;
inline constexpr uint64_t kUnknownSize = UINT64_MAX;

// A text of a part: its place in EmlMimeContext.texts, zero-terminated there. Start 0 is "absent".
using TextStart = uint32_t;

// One part. Offsets are byte positions in the file.
struct MimePart {
    uint64_t headerStart;
    uint64_t headerEnd;  // after the last field line
    uint64_t bodyStart;  // after the empty line
    uint64_t bodyEnd;    // before the line end that belongs to the next delimiter
    uint32_t parent;
    uint32_t nextSibling;
    uint32_t childCount;
    uint32_t ordinal;
    uint32_t message;
    uint32_t defectCount;
    uint32_t lastDefect;  // its newest one in EmlMimeContext.defects, plus 1; 0: none
    TextStart type;
    TextStart subtype;
    TextStart charset;
    TextStart encodingText;
    TextStart disposition;
    TextStart name;
    TextStart contentId;
    TextStart location;
    TextStart description;
    TextStart rootId;  // multipart/related: Content-ID and type of its root, as far as it says so
    TextStart rootType;
    uint32_t flags;  // EML_MIME_PART_...
    uint16_t depth;
    uint8_t encoding;
    uint8_t dispositionKind;
    uint8_t ending;
    uint8_t protection;
    uint8_t roles;
    uint8_t measured;  // MeasuredContent
};

// Bits of MimePart.measured: what was read to the end once. Its defects are in the list, and not counted again.
enum MeasuredContent : uint8_t {
    kTransferMeasured = 1,  // the transfer encoding
    kTextMeasured = 2,      // the charset
};

struct MimeDefect {
    EmlMimeDefect defect;
    uint32_t before;  // the one of the same part before it, plus 1; 0: none
};

struct MimeSpan {
    uint64_t offset;  // it ends where the next one begins
    uint32_t part;
    uint32_t kind;
};

}  // namespace eml

// One open message.
struct EmlMimeContext {
    EmlAllocator* allocator;
    EmlIOobj* input;
    EmlMimeOptions options;  // defaults filled in
    const eml::DecodeKernels* kernels;
    uint8_t* block;              // kMimeBlockSize bytes: the one read buffer
    uint64_t size;               // of the file, as it was read
    uint64_t nextProgress;       // offset at which `progress` is called next
    eml::GrowingBuffer parts;    // MimePart
    eml::GrowingBuffer spans;    // MimeSpan
    eml::GrowingBuffer defects;  // MimeDefect
    eml::GrowingBuffer texts;    // of the parts
    eml::GrowingBuffer header;   // the header block that was read last
    uint32_t headerPart;         // whose it is, plus 1; 0: none
    uint32_t fieldIndex;         // the field that was looked at last, and where it begins in the header
    uint32_t fieldStart;
    eml::GrowingBuffer scratch;  // texts handed over by the last call
    eml::GrowingBuffer places;   // where they stand, while they are written
    eml::GrowingBuffer list;     // the array that goes with them
    bool defectsLost;            // the list could not grow
};

namespace eml {

template <class Record>
[[nodiscard]] inline uint32_t recordCount(const GrowingBuffer& buffer) {
    return buffer.length / uint32_t{sizeof(Record)};
}

template <class Record>
[[nodiscard]] inline Record* recordsOf(const GrowingBuffer& buffer) {
    return reinterpret_cast<Record*>(buffer.data);
}

[[nodiscard]] inline uint32_t partCount(const EmlMimeContext& context) {
    return recordCount<MimePart>(context.parts);
}

[[nodiscard]] inline MimePart& partAt(const EmlMimeContext& context, uint32_t number) {
    return recordsOf<MimePart>(context.parts)[number];
}

}  // namespace eml
