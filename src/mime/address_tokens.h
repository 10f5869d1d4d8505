// The value of an address field as tokens. A quote, a comment or a bracket that does not end is text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

enum class AddressTokenKind : uint8_t {
    kEnd,
    kGap,      // blanks, line ends, control characters
    kComment,  // with its parentheses
    kQuoted,   // with its quotes
    kLiteral,  // "[...]"
    kWord,     // any other text, an encoded word on its own
    kDot,
    kAt,
    kComma,
    kSemicolon,
    kColon,
    kOpen,  // "<"
    kClose,
};

struct AddressToken {
    AddressTokenKind kind;
    size_t start;
    size_t end;

    // Whether it can be one of the words that an address or a name is made of.
    [[nodiscard]] bool isText() const {
        return kind == AddressTokenKind::kQuoted || kind == AddressTokenKind::kLiteral ||
               kind == AddressTokenKind::kWord;
    }
};

// Linear: the end of a quote, a comment or a literal is looked for at most once in the same text.
class AddressLexer {
  public:
    explicit AddressLexer(std::string_view text) : text_(text) {}
    [[nodiscard]] AddressToken next();

  private:
    [[nodiscard]] AddressToken token(AddressTokenKind kind, size_t end);
    [[nodiscard]] size_t quotedAt(size_t at);
    [[nodiscard]] size_t commentAt(size_t at);
    [[nodiscard]] size_t encodedWordEnd(size_t at);
    [[nodiscard]] size_t wordEnd(size_t at);

    std::string_view text_;
    size_t pos_ = 0;
    size_t wordMark_ = 0;  // the first "?=" from where it was looked for last
    bool noQuotes_ = false;
    bool noComments_ = false;
};

// Whether a backslash before it makes it text, also outside of quotes.
[[nodiscard]] bool isAddressSpecial(char character);

}  // namespace eml
