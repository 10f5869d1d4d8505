// The list of messages that a folder of pages begins with.
#pragma once

#include <string>
#include <vector>

#include "tool/view/page.h"

namespace emltool {

struct SiteRow {
    std::string page;  // the file beside the list: "0001.html"; empty if the message could not be read
    std::string path;  // where the message is
    ViewSummary summary;
    std::string problem;  // why there is no page
};

// The list, newest first. It can be sorted and filtered by a script of ours, which the page's policy names by its digest;
// it is whole without the script, too.
std::string buildIndex(const std::string& title, std::vector<SiteRow> rows);

// "0007.html" for the seventh of 400; the number begins with 1.
std::string pageName(size_t number);

}  // namespace emltool
