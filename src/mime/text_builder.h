// Text on its way into memory of the host. A sink (bytes/sink.h): room is given as it is needed, and an allocation
// that fails is remembered, so that the code that writes need not look after each byte.
#pragma once

#include <cstring>
#include <string_view>

#include "bytes/sink.h"
#include "host/growing_buffer.h"

namespace eml {

class TextBuilder {
  public:
    // Appends to `buffer`, which belongs to the caller.
    TextBuilder(EmlAllocator& allocator, GrowingBuffer& buffer) : allocator_(allocator), buffer_(buffer) {}

    [[nodiscard]] OutputSpan space() {
        if (!reserve(1)) return {nullptr, nullptr};
        return {buffer_.data + buffer_.length, buffer_.data + buffer_.capacity};
    }

    void commit(const uint8_t* end) {
        if (!failed_) buffer_.length = static_cast<uint32_t>(end - buffer_.data);
    }

    void append(std::string_view text) {
        if (failed_ || text.empty()) return;
        failed_ = buffer_.append(allocator_, asBytes(text), text.size()) != EML_OK;
    }

    void append(uint8_t byte) {
        if (!reserve(1)) return;
        buffer_.data[buffer_.length++] = byte;
    }

    // Bytes in the buffer.
    [[nodiscard]] uint32_t length() const { return buffer_.length; }

    // What was written from `start` on; valid until more is written.
    [[nodiscard]] std::string_view since(uint32_t start) const {
        if (failed_ || start >= buffer_.length) return {};
        return {reinterpret_cast<const char*>(buffer_.data) + start, buffer_.length - start};
    }

    // Cuts the text to `length`, which is at most length().
    void truncate(uint32_t length) {
        if (!failed_) buffer_.length = length;
    }

    // Removes `count` bytes at `start`; what follows moves up.
    void erase(uint32_t start, uint32_t count) {
        if (failed_ || count == 0) return;
        std::memmove(buffer_.data + start, buffer_.data + start + count, buffer_.length - start - count);
        buffer_.length -= count;
    }

    // Whoever wrote into another block for this text has run out of memory.
    void fail() { failed_ = true; }

    [[nodiscard]] EmlAllocator& allocator() const { return allocator_; }

    [[nodiscard]] bool failed() const { return failed_; }
    [[nodiscard]] EmlResult result() const { return failed_ ? EML_NO_MEMORY : EML_OK; }

  private:
    static const uint8_t* asBytes(std::string_view text) {
        return reinterpret_cast<const uint8_t*>(text.data());
    }

    [[nodiscard]] bool reserve(uint64_t more) {
        if (!failed_) failed_ = buffer_.reserve(allocator_, more) != EML_OK;
        return !failed_;
    }

    EmlAllocator& allocator_;
    GrowingBuffer& buffer_;
    bool failed_ = false;
};

// A text that is needed for a while only, in a block of its own. Nothing is allocated until something is written.
class ScratchText {
  public:
    explicit ScratchText(EmlAllocator& allocator) : text_(allocator, buffer_) {}
    ~ScratchText() { buffer_.release(text_.allocator()); }
    ScratchText(const ScratchText&) = delete;
    ScratchText& operator=(const ScratchText&) = delete;

    [[nodiscard]] TextBuilder& text() { return text_; }
    [[nodiscard]] std::string_view view() const { return text_.since(0); }

    // The bytes as records that were appended as such.
    template <class Record>
    [[nodiscard]] Record* records() {
        return reinterpret_cast<Record*>(buffer_.data);
    }

  private:
    GrowingBuffer buffer_{};
    TextBuilder text_;
};

// A text inside a buffer that may still move: its place, not its address.
struct TextPlace {
    uint32_t start;
    uint32_t length;
};

}  // namespace eml
