// HTML as a person reads it, and what nobody sees of it.
#pragma once

#include <string>

#include "tool/html/document.h"
#include "tool/html/html_tree.h"

namespace emltool {

struct HtmlDocument {
    Block content;  // a group
    // The text that is in the HTML but not to be seen: not displayed, of no size, transparent, of the colour of its
    // ground, off the screen. One line for each place.
    std::string hidden;
    size_t visibleLength = 0;  // characters of what is seen, without blanks
    size_t hiddenLength = 0;
    bool isComplete = true;  // false if the style sheets are too large to be followed to the end
};

HtmlDocument readHtml(const HtmlTree& tree);

}  // namespace emltool
