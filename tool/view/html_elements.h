// The elements of HTML that an inert copy may have.
#pragma once

#include <string_view>

namespace emltool {

enum class ElementKind {
    kInline,
    kBlock,
    kTable,     // <table>
    kCell,      // what a table is made of
    kVoid,      // has no content and no end tag
    kReplaced,  // the same, and is something to see
};

// Groups of elements that end each other without an end tag.
using ElementGroups = unsigned;
inline constexpr ElementGroups kParagraphs = 1;
inline constexpr ElementGroups kItems = 2;
inline constexpr ElementGroups kTerms = 4;
inline constexpr ElementGroups kCells = 8;
inline constexpr ElementGroups kRows = 16;
inline constexpr ElementGroups kRowGroups = 32;

struct HtmlElement {
    std::string_view name;
    std::string_view emitted;  // what it becomes
    ElementKind kind;
    ElementGroups closing;   // its beginning ends an open element of these
    ElementGroups closedBy;  // it is of these
    ElementGroups bars;      // such elements around it stay open
};

// The row for an element, whose name is in lower case. Unknown elements become <span>, so that their styles hold; those
// with a content that is no text of the message, or none at all, have no row: only their tags are left out.
const HtmlElement* findElement(std::string_view name);

}  // namespace emltool
