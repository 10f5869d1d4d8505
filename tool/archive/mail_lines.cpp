#include "tool/archive/mail_lines.h"

#include <algorithm>
#include <cstddef>

namespace emltool {

namespace {

constexpr std::string_view kFrom = "From ";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

bool beginsMbox(std::string_view beginning) { return beginning.starts_with(kFrom); }

bool isPostmark(std::string_view line) {
    if (!beginsMbox(line)) return false;
    line.remove_prefix(kFrom.size());
    if (line.starts_with('-') && (line.size() == 1 || line[1] == ' ' || line[1] == '\r' || line[1] == '\n'))
        return true;
    for (size_t i = 2; i + 2 < line.size(); ++i) {
        if (line[i] == ':' && isDigit(line[i - 2]) && isDigit(line[i - 1]) && isDigit(line[i + 1]) &&
            isDigit(line[i + 2])) {
            return true;
        }
    }
    return false;
}

bool isHeaderField(std::string_view line) {
    const size_t end = line.find(':');
    return end != std::string_view::npos && end > 0 &&
           std::all_of(line.begin(), line.begin() + static_cast<ptrdiff_t>(end),
                       [](char c) { return c > ' ' && c < '\x7F'; });
}

bool isEmptyLine(std::string_view line) { return line == "\n" || line == "\r\n"; }

std::string_view firstLine(std::string_view text) {
    const size_t end = text.find('\n');
    return end == std::string_view::npos ? text : text.substr(0, end + 1);
}

}  // namespace emltool
