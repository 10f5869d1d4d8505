// HTML as a tree. It is parsed by a library, and what it reads is hostile: outside of a worker process, which is isolated
// already, the library runs in a process of its own (system/isolated_work.h).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "tool/html/html_tree.h"

namespace emltool {

// Why the library is not there: the program has been built without it, or it cannot be loaded. Empty if it is there.
std::string htmlLack();

inline bool readsHtml() { return htmlLack().empty(); }

struct ParsedHtml {
    HtmlTree tree;                 // empty if it could not be read
    bool isNestedTooDeep = false;  // some tags were left out
    std::string problem;           // why it could not be read, "its reader took too long"; empty if it was
};

// `html` is UTF-8; zero bytes are left out, for browsers treat them differently and none can hide a name then. Throws
// std::bad_alloc if there is not enough memory.
ParsedHtml parseHtml(std::string_view html);

// How the library ended.
enum class HtmlResult { kRead, kTooLarge, kNoMemory };

// Parses with the library, in this process. `html` has been through limitNesting().
HtmlResult parseWithLibrary(std::string_view html, HtmlTree& tree);

// The same for a tree that a process has sent instead.
using HtmlReader = HtmlResult (*)(std::string_view html, HtmlTree& tree);
ParsedHtml parseHtmlIsolated(std::string_view html, HtmlReader reader);

}  // namespace emltool
