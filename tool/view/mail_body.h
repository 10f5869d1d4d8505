// The body of a message on its page.
#pragma once

#include <string>
#include <string_view>

#include "tool/view/css_text.h"
#include "tool/view/inert_html.h"

namespace emltool {

// A body in HTML, UTF-8: in a frame that is sandboxed and carries the policy of the page. A link opens in a window of its
// own, which the sandbox is not around, for the page that it leads to would not work there.
//
// A frame has no height of its own unless a script measures it, and a printer cuts it off. So the inert HTML is there
// twice: under the frame lies a copy of the same width that nobody sees, inside an element that clips it. It gives the
// frame its height, and takes its place when the page is printed.
std::string htmlBody(std::string_view html, const ReferenceFinder& find);

// A body in plain text, UTF-8.
std::string textBody(std::string_view text);

// "2 scripts, 1 form"
std::string blockedText(const BlockedContent& blocked);

}  // namespace emltool
