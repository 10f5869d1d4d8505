// A sender's HTML, made anew from the elements, attributes and properties that lay out text and pictures. All others are
// left out: what runs, loads or sends. Links stay links. The page that shows it forbids all of that once more.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tool/html/html_tree.h"
#include "tool/view/css_text.h"

namespace emltool {

// How often the message asks for something that is refused.
struct BlockedContent {
    size_t scripts = 0;
    size_t remote = 0;         // images, styles, frames and the like from the network
    size_t missingImages = 0;  // "cid:" references to nothing that can be shown
    size_t forms = 0;

    bool any() const { return scripts + remote + missingImages + forms != 0; }
};

struct InertHtml {
    // Well-formed: each element is closed, and none is there that changes how what follows is read. One element of the
    // class kHtmlClass around one of kBodyClass around the content.
    std::string html;
    std::string styles;  // the style sheets, for one <style>
    BlockedContent blocked;
    bool hasColours = false;   // it sets colours of its own
    bool hasDarkForm = false;  // it has rules for a dark screen
    bool anyText = false;      // there is something to see
};

// `find` may be empty.
InertHtml makeInert(const HtmlTree& tree, const ReferenceFinder& find = {});

// `text` for an element or a quoted attribute of HTML.
std::string escapeHtml(std::string_view text);

}  // namespace emltool
