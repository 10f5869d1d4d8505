// Memory of a host for texts of fields, and what header text is converted with.
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "mime/encoded_words.h"

namespace tests {

// A buffer in heap memory, and a builder on it.
class FieldTexts {
  public:
    FieldTexts() = default;
    FieldTexts(const FieldTexts&) = delete;
    FieldTexts& operator=(const FieldTexts&) = delete;
    ~FieldTexts() { buffer_.release(allocator_); }

    eml::TextBuilder& builder() { return builder_; }
    EmlAllocator& allocator() { return allocator_; }

    // A text at a place of the buffer, with a zero byte after it.
    [[nodiscard]] std::string at(eml::TextPlace place) const {
        const char* text = reinterpret_cast<const char*>(buffer_.data) + place.start;
        return text[place.length] == '\0' ? std::string(text, place.length) : "no zero byte";
    }

    template <class Record>
    [[nodiscard]] std::vector<Record> records() const {
        const auto* first = reinterpret_cast<const Record*>(buffer_.data);
        return buffer_.data == nullptr ? std::vector<Record>()
                                       : std::vector<Record>(first, first + buffer_.length / sizeof(Record));
    }

    // From now on no allocation succeeds.
    void exhaust() { allocator_.context = 1; }

  private:
    static void* allocate(EmlAllocator* self, uint32_t size) {
        return self->context != 0 ? nullptr : std::malloc(size);
    }
    static void* reallocate(EmlAllocator* self, void* block, uint32_t size) {
        if (self->context == 0) return std::realloc(block, size);
        std::free(block);
        return nullptr;
    }
    static void* allocateZeroed(EmlAllocator* self, uint32_t count, uint32_t size) {
        return self->context != 0 ? nullptr : std::calloc(count, size);
    }
    static void release(EmlAllocator*, void* block) { std::free(block); }

    EmlAllocator allocator_{0, allocate, release, reallocate, allocateZeroed};
    eml::GrowingBuffer buffer_{};
    eml::TextBuilder builder_{allocator_, buffer_};
};

inline constexpr eml::HeaderText kPlainText{nullptr, {}};

}  // namespace tests
