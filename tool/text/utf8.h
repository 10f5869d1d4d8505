// Text in UTF-8, character by character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emltool {

// What nextCharacter returns for a byte that belongs to no character.
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// The character at `position`, which is before the end of `text`, and moves `position` past it. A byte that
// begins no well-formed character is skipped alone.
char32_t nextCharacter(std::string_view text, size_t& position) noexcept;

// Where the bytes end that are ASCII, from `position` on.
size_t asciiEnd(std::string_view text, size_t position) noexcept;

// The same of those that are printable ASCII, the blank among them.
size_t printableAsciiEnd(std::string_view text, size_t position) noexcept;

bool isUtf8(std::string_view text) noexcept;

// The same of a text that comes in pieces; a character may be cut between two of them.
class Utf8Check {
  public:
    void feed(std::string_view piece);

    // Whether all that came is UTF-8, and ends with a whole character.
    bool isValid() const noexcept { return isValid_ && cut_.empty(); }

  private:
    bool isValid_ = true;
    std::string cut_;  // the beginning of a character
};

void appendUtf8(std::string& text, char32_t character);

// `text` with U+FFFD for each byte that belongs to no character.
std::string withoutInvalidBytes(std::string_view text);

}  // namespace emltool
