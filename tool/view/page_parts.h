// What all pages of `eml view` are made of.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/text/visible_text.h"

#include "tool/terminal/problem.h"

namespace emltool {

// The <meta> tags of a page in which nothing runs and nothing is loaded. `script`: the source of the one script that may
// run, "'sha256-...'"; none when it is empty.
std::string policyTags(std::string_view script = {});

// Text from a stranger, in HTML.
std::string shown(std::string_view text);

// Lines of text, with tabs and line ends unchanged.
std::string shownLines(std::string_view text);

// A sentence about the message; it is HTML already.
std::string note(std::string_view text);

// Where a page that is one of many leads; empty for a page of its own.
struct PageLinks {
    std::string index;  // the list of all
};

struct PageContent {
    std::string title;          // as text
    std::string tree;           // of the parts, as items of a list; may be empty
    bool isOneMessage = false;  // no message is inside it: on a small screen the tree would say nothing new
    std::vector<Warning> warnings;
    std::string articles;
};

std::string wholePage(const PageContent& content, const PageLinks& links);

}  // namespace emltool
