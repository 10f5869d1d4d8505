// A message as one safe HTML page.
//
// The page loads nothing from elsewhere and runs nothing: no script, a Content-Security-Policy that forbids
// every request, and the sender's HTML, made inert, in a frame that is sandboxed and carries the same policy.
// Attachments are links that hold their bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "standalone/input.h"
#include "tool/message/message_file.h"
#include "tool/view/page_parts.h"

namespace emltool {

struct ViewOptions {
    uint64_t maxEmbed;  // bytes of the largest attachment or picture that goes into the page
};

// What a list of messages says about one. Texts are UTF-8 and not safe to show.
struct ViewSummary {
    std::string subject;
    std::string from;
    std::string date;                // "2025-03-04 09:15"; empty without one
    std::optional<int64_t> seconds;  // since 1970-01-01 UTC
    size_t attachments = 0;
};

struct ViewPage {
    std::string html;
    std::vector<Warning> warnings;
    ViewSummary summary;
};

// The page for a message and the messages inside it, read by the MIME reader. `name` is what problems call the message.
// Throws Problem.
ViewPage buildMimePage(emlhost::Input& input, const std::string& name, const ViewOptions& options,
                       const PageLinks& links = {});

// The same read by the container reader.
ViewPage buildContainerPage(MessageFile& file, const ViewOptions& options);

}  // namespace emltool
