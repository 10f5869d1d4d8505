// How a browser would show the elements of a document, as far as it decides what a person reads: by their names, their
// attributes and the sender's style sheets.
#pragma once

#include <cstdint>
#include <vector>

#include "tool/html/css_colour.h"
#include "tool/html/html_tree.h"

namespace emltool {

enum class Display : uint8_t {
    kNone,
    kInline,
    kInlineBlock,
    kBlock,
    kListItem,
    kTable,
    kTableRow,
    kTableCell,
    kTablePart,  // what else a table consists of
};

struct ElementStyle {
    Display display = Display::kInline;
    bool isGone = false;        // it or what is around it is not displayed
    bool isInvisible = false;   // visibility
    bool isOutOfSight = false;  // transparent, clipped, of no size, or off the screen
    bool keepsBlanks = false;   // white-space: pre
    bool keepsLines = false;    // also pre-line
    bool isBold = false;
    bool isItalic = false;
    bool knowsGround = true;  // no picture is behind it
    double opacity = 1;
    double fontSize = 16;  // CSS pixels
    double indent = 0;     // of its first line
    Colour colour;
    Colour ground{255, 255, 255, 1};

    // Whether nobody sees a text in it, and a picture.
    bool hidesText() const;
    bool hidesPictures() const { return isGone || isInvisible || isOutOfSight; }
};

struct ElementStyles {
    std::vector<ElementStyle> styles;  // by node; a text has that of its element
    bool isComplete = true;            // false if the sheets are too large to be followed to the end
};

ElementStyles styleElements(const HtmlTree& tree);

}  // namespace emltool
