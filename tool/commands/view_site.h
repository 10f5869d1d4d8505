// A folder of pages, for `eml view` of a folder or an mbox.
#pragma once

#include <cstdint>
#include <string>

#include "tool/terminal/console.h"

namespace emltool {

struct SiteOptions {
    std::string folder;
    uint64_t maxEmbed;
    bool overwrite;
    bool force;  // also what does not look like a message
};

// Writes a page for each message of the folder or mbox `path`, and the list of them last. Each file gets its name when it
// is whole. Throws Problem.
ExitCode writeSite(Console& console, const std::string& path, const SiteOptions& options);

}  // namespace emltool
