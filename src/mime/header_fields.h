// A header block as fields (RFC 5322 section 2.2), whatever stands in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

struct FieldLines {
    std::string_view name;   // as written, without blanks before the colon; empty for lines that are no field
    std::string_view value;  // after the colon, folding included, without the last line end
    size_t start;            // in the header block
    size_t end;              // after the last line end
};

// Walks the fields of `header`, the lines of a header block without the empty line at its end. Line ends are LF,
// CR LF, CR, and CR CR LF. A line that is no field and continues none (no colon, or a name that none can have) is
// given with an empty name, its text and that of the lines that continue it as the value.
class FieldWalk {
  public:
    explicit FieldWalk(std::string_view header) : header_(header) {}
    [[nodiscard]] bool next(FieldLines& field);

  private:
    // Moves pos_ after the line that begins there; gives the end of its text.
    size_t passLine();

    std::string_view header_;
    size_t pos_ = 0;
    // The first CR and the first LF from pos_ on: each byte is searched once, however the line ends are mixed.
    size_t cr_ = 0;
    size_t lf_ = 0;
    bool searched_ = false;
};

// Whether a line begins a field: a name of printable ASCII without blanks, then blanks or none, then ":". A name
// before "//" ("http://...") is none.
[[nodiscard]] bool beginsField(std::string_view line);

[[nodiscard]] bool equalNoCase(std::string_view left, std::string_view right);

}  // namespace eml
