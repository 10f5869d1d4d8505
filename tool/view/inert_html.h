// A sender's HTML, prepared for a sandbox.
//
// The page that shows it forbids scripts and every network access by a Content-Security-Policy and a sandbox.
// This handles what those do not reach, and tells the reader what the message asked for.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emltool {

// How often the message asks for something that is refused.
struct BlockedContent {
    size_t scripts = 0;
    size_t remote = 0;        // images, styles, frames and the like from the network
    size_t inlineImages = 0;  // "cid:", images that came along as attachments
    size_t forms = 0;

    bool any() const { return scripts + remote + inlineImages + forms != 0; }
};

struct InertHtml {
    std::string html;
    BlockedContent blocked;
};

// `html`, UTF-8, with "x-" put before the names of elements that reach outside of any policy, since browsers
// open connections before they look at one: links and frames, <link>, <meta>, which leads to other pages and
// sets policies, <base> and the like. An unknown element does nothing.
InertHtml makeInert(std::string_view html);

// `text` for an element or a quoted attribute of HTML.
std::string escapeHtml(std::string_view text);

}  // namespace emltool
