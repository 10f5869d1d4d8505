// Text formatted into a fixed array: what does not fit is cut off, and the text always ends with a zero.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

template <size_t Size>
class FixedText {
  public:
    FixedText& append(std::string_view text) {
        for (const char character : text) put(character);
        return *this;
    }

    FixedText& appendDecimal(int64_t value) {
        if (value < 0) put('-');
        const uint64_t magnitude =
            value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
        return appendDigits(magnitude, 10);
    }

    FixedText& appendHex(uint64_t value) { return appendDigits(value, 16); }

    void clear() {
        length_ = 0;
        text_[0] = '\0';
    }

    [[nodiscard]] std::string_view view() const { return {text_.data(), length_}; }

    [[nodiscard]] const char* zeroTerminated() const { return text_.data(); }

  private:
    void put(char character) {
        if (length_ + 1 >= Size) return;
        text_[length_++] = character;
        text_[length_] = '\0';
    }

    FixedText& appendDigits(uint64_t value, uint64_t base) {
        std::array<char, 20> digits{};
        size_t first = digits.size();
        do {
            digits[--first] = "0123456789ABCDEF"[value % base];
            value /= base;
        } while (value != 0);
        return append({digits.data() + first, digits.size() - first});
    }

    std::array<char, Size> text_{};
    size_t length_ = 0;
};

}  // namespace eml
