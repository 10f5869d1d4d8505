// The stream of tagged text records that the filter gives its host (eml.h describes the records). Records are
// written into the host's buffer, into a fixed buffer of the library, or into the staging buffer, which
// grows.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// Tags of records.
enum RecordTag : uint8_t {
    kTagText = 0,
    kTagIndents = 1,
    kTagTabStops = 2,
    kTagTab = 3,
    kTagAttribute = 4,
    kTagLone = 11,  // a lone byte without a length; never written
    kTagLineBreak = 13,
    kTagOpening = 15,
    kTagPage = 16,
    kTagCharset = 27,
};

inline constexpr uint32_t kTextHeaderSize = 9;

// What became of a record. kFull: it did not fit and was not written.
enum class Written : uint8_t { kYes, kFull, kNoMemory };

// The record output: from `begin` on, `capacity` bytes, full once `limit` bytes are in.
void openRecordOutput(EmlFilterContext& context, uint8_t* begin, uint64_t capacity, int32_t limit);
void closeRecordOutput(EmlFilterContext& context);

// Bytes written so far.
[[nodiscard]] inline uint32_t recordBytes(const EmlFilterContext& context) {
    return static_cast<uint32_t>(context.output.next - context.output.start);
}

// Bytes of text that may still be written before the output counts as full. The staging buffer never does.
[[nodiscard]] uint32_t textRoom(const EmlFilterContext& context);

[[nodiscard]] inline bool isFull(const EmlFilterContext& context) { return textRoom(context) == 0; }

[[nodiscard]] Written writeText(EmlFilterContext& context, const uint8_t* text, uint32_t length);
// More text for the text record at `record`, the last one written. The caller has looked for its room.
void extendText(EmlFilterContext& context, uint8_t* record, const uint8_t* text, uint32_t length);
[[nodiscard]] Written writeText(EmlFilterContext& context, const char* text);
[[nodiscard]] Written writeTab(EmlFilterContext& context);
[[nodiscard]] Written writeLineBreak(EmlFilterContext& context);
[[nodiscard]] Written writeAttribute(EmlFilterContext& context, uint32_t attribute);
[[nodiscard]] Written writeCharset(EmlFilterContext& context, uint32_t charset);

// The records that open every conversion.
[[nodiscard]] Written writePrologue(EmlFilterContext& context);

inline constexpr ptrdiff_t kShortRun = 8;

// Writes runs of text of less than kShortRun bytes and what ends them, and moves readPos on, as long as runs
// are so short, the output is far from full and the input from its end. It gives what writing run by run
// gives, and is for text of many tabs, line ends or zero bytes.
void writeShortRuns(EmlFilterContext& context);

// A failed write of the header pass as a result code. A record that does not fit is left out, which is no
// failure.
[[nodiscard]] inline EmlResult resultOf(Written written) {
    return written == Written::kNoMemory ? EML_NO_MEMORY : EML_OK;
}

// The staging buffer: made, and made the record output; drained; freed.
[[nodiscard]] EmlResult beginStaging(EmlFilterContext& context);
void finishStaging(EmlFilterContext& context);
void releaseStaging(EmlFilterContext& context);

// Steps through a stream of records. The length of the record at `record`, of which `left` bytes are there; 0
// when no whole record stands there.
[[nodiscard]] uint32_t recordLength(const uint8_t* record, uint32_t left);

}  // namespace eml

// Moves staged records into the host's buffer, as many as fit whole; only a text record is split, at an even
// length. `size` receives the bytes written. True when staged records remain; false also when the next one could
// never be delivered.
[[nodiscard]] bool drainStaging(EmlFilterContext& context, uint8_t* buffer, uint32_t& size,
                                uint32_t capacity);
