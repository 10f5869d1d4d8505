// "value; name=value; name*0*=..." (RFC 2045 section 5.1, RFC 2231), as strictly written or as found.
#pragma once

#include <string_view>

#include "mime/encoded_words.h"
#include "mime/text_builder.h"

namespace eml {

// One "name=value" as it stands in the field.
struct RawParameter {
    std::string_view name;   // as written, without "*" and section number
    std::string_view value;  // as written: inside of the quotes when quoted, escapes still there
    int32_t section;         // -1 without one
    bool extended;           // "*" at the end of the name: charset'language'percent-encoded
    bool quoted;
    bool hasValue;  // there is a "="
};

// What is wrong with a list of parameters, as bits.
enum ParameterProblem : uint32_t {
    kParameterSyntax = 1,  // stray text, a missing ";" or "=", sections that are missing
    kUnterminatedQuote = 2,
    kDuplicateParameter = 4,
    kEncodedWordInParameter = 8,
    kWrongPercentEscape = 16,
};

// Walks the parameters of a field's value, after its first item. Pure: nothing is copied. Linear in all.
class ParameterWalk {
  public:
    // `text` begins after the first item ("text/plain"), usually at a ";". It may be folded and hold comments.
    explicit ParameterWalk(std::string_view text) : text_(text) {}

    // The next one; false at the end.
    [[nodiscard]] bool next(RawParameter& parameter);

    [[nodiscard]] uint32_t problems() const { return problems_; }

  private:
    void skipBlanksAndComments();
    [[nodiscard]] bool skipComment();
    [[nodiscard]] bool skipToName();
    void readName(RawParameter& parameter);
    void readValue(RawParameter& parameter);
    void readQuoted(RawParameter& parameter);
    void readUnquoted(RawParameter& parameter);
    [[nodiscard]] bool valueEndsAtBlank(size_t& pos);

    std::string_view text_;
    size_t pos_ = 0;
    uint32_t problems_ = 0;
    enum class Before : uint8_t { kStart, kSemicolon, kParameter };
    Before before_ = Before::kStart;
    bool openComment_ = false;  // a "(" without its ")" was seen: no later "(" begins a comment
};

// Appends the value of the parameter `name` (lower case) as UTF-8, sections joined in the order of their numbers:
// "name*" and "name*0*"... before "name", the first that is not empty. Encoded words inside are decoded, raw 8-bit
// text by `how`, backslash escapes undone. False when there is no such parameter. `problems` gets bits of
// ParameterProblem: those of the whole list, and of this parameter.
[[nodiscard]] bool appendParameter(std::string_view parameters, std::string_view name, const HeaderText& how,
                                   TextBuilder& out, uint32_t& problems);

// Places of one parameter's texts in the buffer that a list is read into.
struct ParameterPlaces {
    TextPlace name;
    TextPlace value;
};

// Reads all parameters, in the order of the first "name=value" of each. Texts are appended to `texts`, each followed
// by a zero byte, and a ParameterPlaces record for each to `list`, as bytes. A name that occurs more than once has
// first the value that appendParameter gives, then the others that are written without "*".
void readParameters(std::string_view parameters, const HeaderText& how, TextBuilder& texts, TextBuilder& list,
                    uint32_t& problems);

}  // namespace eml
