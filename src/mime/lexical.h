// Comments and quoted strings (RFC 5322 sections 3.2.2 and 3.2.4) in the value of a structured field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

// Blanks, line ends and control characters: what separates tokens.
[[nodiscard]] constexpr bool isSpacing(char character) {
    return static_cast<uint8_t>(character) <= ' ' || character == 127;
}

[[nodiscard]] constexpr bool isDigit(char character) { return character >= '0' && character <= '9'; }

[[nodiscard]] constexpr bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// The text without spacing at both ends.
[[nodiscard]] std::string_view trimSpacing(std::string_view text);

// The place after the ")" of the comment whose "(" stands at `at`; npos when it does not end. Comments nest.
[[nodiscard]] size_t commentEnd(std::string_view text, size_t at);

// The place after the closing quote of the string whose opening one stands at `at`; npos when it does not end.
[[nodiscard]] size_t quotedEnd(std::string_view text, size_t at);

}  // namespace eml
