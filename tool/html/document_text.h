// A document as plain text.
#pragma once

#include <string>

#include "tool/html/document.h"

namespace emltool {

enum class LinkStyle {
    kNone,       // text
    kInline,     // text <https://example.net/>
    kFootnotes,  // text [1], and at the end "[1] https://example.net/"
};

// UTF-8, each line with its LF, at most one empty line between two others. Quotes have "> ", items "* " or their number;
// simple tables are columns. A link whose text names its target has no other mark.
std::string documentText(const Block& document, LinkStyle links);

}  // namespace emltool
