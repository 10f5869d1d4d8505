// The text records of the message filter (eml.h lists them), one after the other.
#ifndef EMLREADER_STANDALONE_TEXT_RECORDS_H
#define EMLREADER_STANDALONE_TEXT_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace emlhost {

// Tags of records.
enum class RecordTag : uint8_t {
    kText = 0,
    kIndents = 1,
    kTabStops = 2,
    kTab = 3,
    kAttribute = 4,
    kLone = 11,  // a single byte without a length
    kLineBreak = 13,
    kOpening = 15,
    kPage = 16,
    kCharset = 27
};

// One record, in the buffer that it was read from.
struct TextRecord {
    RecordTag tag;
    std::span<const uint8_t> payload;  // what follows tag and length
    size_t length;                     // of the whole record

    // The text of a text record, else empty.
    std::string_view text() const noexcept;

    // The 32 bits at `offset` of the payload; 0 when it is shorter.
    uint32_t word(size_t offset = 0) const noexcept;
};

// Walks the records of a buffer. An impossible length ends the walk, as complete() then tells.
class RecordWalker {
  public:
    explicit RecordWalker(std::span<const uint8_t> buffer) noexcept : rest_(buffer) {}

    // Moves to the next record. False at the end, and where there is no whole record.
    bool next(TextRecord& record) noexcept;

    // True when all bytes were records.
    bool complete() const noexcept { return rest_.empty(); }

  private:
    std::span<const uint8_t> rest_;
};

}  // namespace emlhost

#endif
