#include "filter/record_stream.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "bytes/little_endian.h"
#include "bytes/unreachable.h"

namespace eml {

namespace {

constexpr uint32_t kStagingSize = 4096;
constexpr int32_t kStagingLimit = 3686;
constexpr uint32_t kStagingMargin = 600;
constexpr uint32_t kLengthSize = 4;  // of a length field, after the tag

// Makes room for `needed` more bytes in the staging buffer, by whole steps and at least by its own size, so
// that a long header stays linear. KEPT: when the host cannot reallocate, the old block is lost.
Written growStaging(EmlFilterContext& context, uint64_t needed) {
    const uint64_t used = recordBytes(context);
    const uint64_t wanted = grownCapacity(context.staging.capacity, used + needed + kStagingMargin);
    context.staging.data =
        static_cast<uint8_t*>(reallocateBlock(allocatorOf(context), context.staging.data, wanted));
    if (context.staging.data == nullptr) {
        context.staging.capacity = 0;
        closeRecordOutput(context);
        return Written::kNoMemory;
    }
    context.staging.capacity = static_cast<uint32_t>(wanted);
    openRecordOutput(context, context.staging.data, wanted, INT32_MAX);
    context.output.next += used;
    return Written::kYes;
}

// Room for a record of `length` bytes at context.output.next.
Written makeRoom(EmlFilterContext& context, uint64_t length) {
    if (context.output.next == nullptr) return Written::kNoMemory;
    if (length <= static_cast<uint64_t>(context.output.end - context.output.next)) return Written::kYes;
    return context.staging.data != nullptr ? growStaging(context, length) : Written::kFull;
}

// A record whose payload is `count` words and, before them, at most one byte.
template <size_t Count>
Written writeWords(EmlFilterContext& context, uint8_t tag, const std::array<uint32_t, Count>& words) {
    constexpr uint32_t kLength = 1 + kLengthSize + 4 * Count;
    if (const Written room = makeRoom(context, kLength); room != Written::kYes) return room;
    *context.output.next = tag;
    writeLittleEndian32(context.output.next + 1, kLength);
    for (size_t i = 0; i < Count; ++i) writeLittleEndian32(context.output.next + 5 + 4 * i, words[i]);
    context.output.next += kLength;
    return Written::kYes;
}

// A record whose bytes are put one after the other.
class RecordBuilder {
  public:
    explicit RecordBuilder(RecordTag tag) { byte(tag).word(0); }

    RecordBuilder& byte(uint8_t value) {
        bytes_[length_++] = value;
        return *this;
    }

    RecordBuilder& word(int32_t value) {
        writeLittleEndian32(bytes_.data() + length_, static_cast<uint32_t>(value));
        length_ += 4;
        return *this;
    }

    [[nodiscard]] Written write(EmlFilterContext& context) {
        writeLittleEndian32(bytes_.data() + 1, length_);
        if (const Written room = makeRoom(context, length_); room != Written::kYes) return room;
        std::memcpy(context.output.next, bytes_.data(), length_);
        context.output.next += length_;
        return Written::kYes;
    }

  private:
    std::array<uint8_t, 64> bytes_{};
    uint32_t length_ = 0;
};

// Measures are twips, 1440 to the inch: US Letter with margins of one inch.
Written writePage(EmlFilterContext& context) {
    RecordBuilder page(kTagPage);
    page.byte(2).word(12240).word(15840).word(1440).word(1440).word(1440).word(1440).word(-1).word(-1);
    return page.write(context);
}

// KEPT: the last stop is 10240, not 10368.
Written writeTabStops(EmlFilterContext& context) {
    constexpr int32_t kStops[] = {1152, 2304, 3456, 4608, 5760, 6912, 8064, 9216, 10240};
    RecordBuilder stops(kTagTabStops);
    stops.word(static_cast<int32_t>(std::size(kStops)));
    for (const int32_t stop : kStops) stops.byte(0).word(stop);
    return stops.write(context);
}

void putTextHeader(uint8_t* record, uint32_t length) {
    record[0] = kTagText;
    writeLittleEndian32(record + 1, length + kTextHeaderSize);
    writeLittleEndian32(record + 5, length);
}

// The bytes of whole records at the drain position that fit in `capacity`.
uint32_t wholeRecords(const EmlFilterContext& context, uint32_t capacity) {
    uint32_t total = 0;
    for (;;) {
        const uint32_t length = recordLength(context.staging.pos + total, context.staging.left - total);
        if (length == 0 || length > capacity - total) return total;
        total += length;
    }
}

}  // namespace

void openRecordOutput(EmlFilterContext& context, uint8_t* begin, uint64_t capacity, int32_t limit) {
    context.output.next = begin;
    context.output.start = begin;
    context.output.end = begin + capacity;
    context.output.limit = limit;
}

void closeRecordOutput(EmlFilterContext& context) { openRecordOutput(context, nullptr, 0, 0); }

uint32_t textRoom(const EmlFilterContext& context) {
    if (context.staging.data != nullptr) return INT32_MAX;
    const uint32_t used = recordBytes(context);
    const auto limit = static_cast<uint32_t>(context.output.limit);
    return used < limit ? limit - used : 0;
}

Written writeText(EmlFilterContext& context, const uint8_t* text, uint32_t length) {
    if (const Written room = makeRoom(context, uint64_t{length} + kTextHeaderSize); room != Written::kYes)
        return room;
    putTextHeader(context.output.next, length);
    if (length != 0) std::memcpy(context.output.next + kTextHeaderSize, text, length);
    context.output.next += length + kTextHeaderSize;
    return Written::kYes;
}

void extendText(EmlFilterContext& context, uint8_t* record, const uint8_t* text, uint32_t length) {
    if (EML_NEVER(length > static_cast<size_t>(context.output.end - context.output.next))) return;
    std::memcpy(context.output.next, text, length);
    context.output.next += length;
    putTextHeader(record, static_cast<uint32_t>(context.output.next - record) - kTextHeaderSize);
}

Written writeText(EmlFilterContext& context, const char* text) {
    return writeText(context, reinterpret_cast<const uint8_t*>(text),
                     static_cast<uint32_t>(std::strlen(text)));
}

Written writeTab(EmlFilterContext& context) { return RecordBuilder(kTagTab).byte(0).write(context); }

Written writeLineBreak(EmlFilterContext& context) {
    return writeWords(context, kTagLineBreak, std::array<uint32_t, 0>{});
}

Written writeAttribute(EmlFilterContext& context, uint32_t attribute) {
    return writeWords(context, kTagAttribute, std::array<uint32_t, 1>{attribute});
}

Written writeCharset(EmlFilterContext& context, uint32_t charset) {
    return writeWords(context, kTagCharset, std::array<uint32_t, 1>{charset});
}

// KEPT: the charset of the prologue is the one that the open scan found, also after a fill has met another.
Written writePrologue(EmlFilterContext& context) {
    Written written = writeWords(context, kTagOpening, std::array<uint32_t, 2>{0, 12});
    if (written == Written::kYes) written = writePage(context);
    if (written == Written::kYes) written = writeTabStops(context);
    if (written == Written::kYes) {
        written = RecordBuilder(kTagIndents).word(1440).word(0).word(-1440).byte(0).write(context);
    }
    const uint32_t charset = context.prologueCharset != 0 ? context.prologueCharset : EML_CHARSET_WESTERN;
    return written == Written::kYes ? writeCharset(context, charset) : written;
}

EmlResult beginStaging(EmlFilterContext& context) {
    releaseStaging(context);
    context.staging.data = static_cast<uint8_t*>(allocateBlock(allocatorOf(context), kStagingSize));
    if (context.staging.data == nullptr) return EML_NO_MEMORY;
    context.staging.capacity = kStagingSize;
    openRecordOutput(context, context.staging.data, kStagingSize, kStagingLimit);
    return EML_OK;
}

void finishStaging(EmlFilterContext& context) {
    context.staging.left = recordBytes(context);
    context.staging.pos = context.staging.data;
}

void releaseStaging(EmlFilterContext& context) {
    freeBlock(allocatorOf(context), context.staging.data);
    context.staging.data = nullptr;
    context.staging.capacity = 0;
    context.staging.pos = nullptr;
    context.staging.left = 0;
}

uint32_t recordLength(const uint8_t* record, uint32_t left) {
    if (left == 0) return 0;
    if (record[0] == kTagLone) return 1;
    if (left < 1 + kLengthSize) return 0;
    const uint32_t length = readLittleEndian32(record + 1);
    return length > kLengthSize && length <= left ? length : 0;
}

}  // namespace eml

bool drainStaging(EmlFilterContext& context, uint8_t* buffer, uint32_t& size, uint32_t capacity) {
    size = 0;
    if (context.staging.left == 0 || context.staging.pos == nullptr) return false;
    uint32_t total = context.staging.left;
    if (total > capacity) total = eml::wholeRecords(context, capacity);
    if (total != 0) {
        std::memcpy(buffer, context.staging.pos, total);
        size = total;
        context.staging.pos += total;
        context.staging.left -= total;
        return context.staging.left != 0;
    }
    // Not even one record fits. Text is split so that no character of two bytes is cut in half.
    const uint32_t length = eml::recordLength(context.staging.pos, context.staging.left);
    if (context.staging.pos[0] != eml::kTagText || length < eml::kTextHeaderSize) return false;
    const uint32_t piece = capacity < eml::kTextHeaderSize ? 0 : (capacity - eml::kTextHeaderSize) & ~1U;
    if (piece < 2) return false;
    uint8_t* const record = context.staging.data + (context.staging.pos - context.staging.data);
    std::memcpy(buffer, record, eml::kTextHeaderSize + piece);
    eml::putTextHeader(buffer, piece);
    eml::putTextHeader(record + piece, length - eml::kTextHeaderSize - piece);
    size = piece + eml::kTextHeaderSize;
    context.staging.pos = record + piece;
    context.staging.left -= piece;
    return true;
}
