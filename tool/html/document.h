// A text as a person reads it: paragraphs, lists, quotes, tables; whatever it was written in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace emltool {

// A piece of a paragraph. Begin and end of a kind enclose what is between them, and never cross.
struct Inline {
    enum class Kind {
        kText,
        kBreak,  // the next line of the same paragraph
        kImage,  // with its alternative text
        kLinkBegin,
        kLinkEnd,
        kStrongBegin,
        kStrongEnd,
        kEmphasisBegin,
        kEmphasisEnd,
        kCodeBegin,
        kCodeEnd,
    };

    Kind kind = Kind::kText;
    std::string text;  // of a text or an image; UTF-8, without line ends
    std::string url;   // of a link
};

struct Block {
    enum class Kind {
        kGroup,         // nothing but its content
        kParagraph,     // `inlines`
        kHeading,       // `inlines`
        kPreformatted,  // `inlines`, whose blanks count
        kQuote,
        kList,  // of items
        kItem,
        kTable,  // of rows, which are of cells
        kRow,
        kCell,
        kRule,
    };

    Kind kind = Kind::kGroup;
    bool hasSpaceBefore = false;  // an empty line
    bool isOrdered = false;       // of a list
    int64_t number = 0;           // of a heading: 1 to 6; of an ordered list: of its first item
    std::vector<Inline> inlines;
    std::vector<Block> blocks;
};

// What is nested deeper stands in what is around it.
inline constexpr size_t kMaxBlockDepth = 24;

}  // namespace emltool
