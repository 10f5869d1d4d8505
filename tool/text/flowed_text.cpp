#include "tool/text/flowed_text.h"

#include <algorithm>

namespace emltool {

namespace {

constexpr std::string_view kSignatureLine = "-- ";

// A line as it was sent, taken apart.
struct FlowedLine {
    size_t depth;
    std::string_view content;  // without quote marks and stuffing
    bool flows;
};

FlowedLine lineOf(std::string_view line) {
    const size_t depth = std::min(line.find_first_not_of('>'), line.size());
    std::string_view content = line.substr(depth);
    if (content.starts_with(' ')) content.remove_prefix(1);
    return {depth, content, content.ends_with(' ') && content != kSignatureLine};
}

}  // namespace

std::string joinedFlowed(std::string_view text, bool delSp) {
    std::string result;
    result.reserve(text.size());
    FlowedLine before{0, {}, false};
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const FlowedLine line = lineOf(text.substr(0, end));
        const bool joins = before.flows && before.depth == line.depth && line.content != kSignatureLine;
        if (joins) {
            result.pop_back();  // the line end
        } else {
            result.append(line.depth, '>').append(line.depth == 0 ? 0 : 1, ' ');
        }
        result += line.content;
        if (line.flows && delSp) result.pop_back();
        if (end == std::string_view::npos) break;
        result += '\n';
        text.remove_prefix(end + 1);
        before = line;
    }
    return result;
}

}  // namespace emltool
