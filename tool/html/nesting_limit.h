// Tags that would make the parsing of HTML cost more than linear time, left out before it is parsed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emltool {

// Elements that may be open at a time. Browsers stop at the same number.
inline constexpr size_t kMaxOpenElements = 512;

// Attributes of one tag.
inline constexpr size_t kMaxAttributes = 256;

struct LimitedHtml {
    std::string html;
    bool anyLeftOut = false;
};

// `html` without the tags of elements that are nested too deep and without the last of too many attributes; their text
// stays. A parser searches all open elements at many tags, and all attributes at each of them. Elements are counted
// open as long as it is not certain that they have ended.
LimitedHtml limitNesting(std::string_view html);

}  // namespace emltool
