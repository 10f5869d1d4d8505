// A date's text as numbers, words and signs, without blanks and comments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

enum class DateTokenKind : uint8_t {
    kEnd,
    kNumber,
    kWord,  // letters
    kSign,  // any other character
};

struct DateToken {
    DateTokenKind kind;
    bool gapBefore;  // a blank or comment stands before it
    char sign;
    uint32_t digits;  // of a number
    int64_t number;   // at most kNumberLimit
    std::string_view word;

    [[nodiscard]] bool isNumber() const { return kind == DateTokenKind::kNumber; }
    [[nodiscard]] bool isWord() const { return kind == DateTokenKind::kWord; }
    [[nodiscard]] bool isSign(char wanted) const { return kind == DateTokenKind::kSign && sign == wanted; }
};

// Larger numbers count as this one, which is out of range for all that a date consists of.
inline constexpr int64_t kNumberLimit = 1'000'000'000'000'000;

// What a date takes, and some text around it. What follows is not looked at.
inline constexpr size_t kMaxDateTokens = 64;

struct DateTokens {
    DateToken tokens[kMaxDateTokens + 1];  // the last one is kEnd
    size_t count;

    // The token at `index`; kEnd after the last.
    [[nodiscard]] const DateToken& at(size_t index) const { return tokens[index < count ? index : count]; }
};

void readDateTokens(std::string_view value, DateTokens& tokens);

}  // namespace eml
