// A message as one safe HTML page.
//
// The page loads nothing from elsewhere and runs nothing: no script, a Content-Security-Policy that forbids
// every request, and the sender's HTML in a frame that is sandboxed and carries the same policy. Attachments
// are links that hold their bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/message/message_file.h"
#include "tool/terminal/problem.h"

namespace emltool {

struct ViewOptions {
    uint64_t maxEmbed;  // bytes of the largest attachment that goes into the page
};

struct ViewPage {
    std::string html;
    std::vector<Warning> warnings;
};

// The page for `file` and the messages inside it. Throws Problem.
ViewPage buildViewPage(MessageFile& file, const ViewOptions& options);

}  // namespace emltool
