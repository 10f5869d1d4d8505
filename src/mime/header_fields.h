// A header block as fields (RFC 5322 section 2.2), whatever stands in it.
#pragma once

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
// CR LF and CR. A line that is no field and continues none (no colon, or a name that none can have) is given
// with an empty name, its text as the value.
class FieldWalk {
  public:
    explicit FieldWalk(std::string_view header) : header_(header) {}
    [[nodiscard]] bool next(FieldLines& field);

  private:
    std::string_view header_;
    size_t pos_ = 0;
};

// Whether a line begins a field: a name of printable ASCII without blanks, then blanks or none, then ":". A name
// before "//" ("http://...") is none.
[[nodiscard]] bool beginsField(std::string_view line);

[[nodiscard]] bool equalNoCase(std::string_view left, std::string_view right);

}  // namespace eml
