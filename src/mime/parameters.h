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
    kParameterSyntax = 1,  // stray text, a missing ";" or "="
    kUnterminatedQuote = 2,
    kDuplicateParameter = 4,
    kEncodedWordInParameter = 8,
    kWrongPercentEscape = 16,
};

// Walks the parameters of a field's value, after its first item. Pure: nothing is copied.
class ParameterWalk {
  public:
    // `text` begins after the first item ("text/plain"), usually at a ";". It may be folded and hold comments.
    explicit ParameterWalk(std::string_view text) : rest_(text) {}

    // The next one; false at the end.
    [[nodiscard]] bool next(RawParameter& parameter);

    [[nodiscard]] uint32_t problems() const { return problems_; }

  private:
    std::string_view rest_;
    uint32_t problems_ = 0;
};

// Appends the value of the parameter `name` (lower case) as UTF-8, sections joined in the order of their numbers:
// "name*" and "name*0*"... before "name". Encoded words inside are decoded, raw 8-bit text by `how`, backslash
// escapes undone. False when there is no such parameter. `problems` gets bits of ParameterProblem.
[[nodiscard]] bool appendParameter(std::string_view parameters, std::string_view name, const HeaderText& how,
                                   TextBuilder& out, uint32_t& problems);

}  // namespace eml
