// Colours (CSS Color Module Level 3; WHATWG HTML, section 2.3.6).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "tool/html/css_tokens.h"

namespace emltool {

struct Colour {
    int red = 0;  // 0 to 255
    int green = 0;
    int blue = 0;
    double alpha = 1;
};

// The first colour in `value`; nothing if there is none, or one that is not known.
std::optional<Colour> findColour(std::span<const CssToken> value);

// A colour in an attribute: "#fff", "ffffff", "white".
std::optional<Colour> attributeColour(std::string_view value);

// Whether a person cannot tell text of one colour from ground of the other.
bool looksSame(const Colour& text, const Colour& ground);

}  // namespace emltool
