#include "tool/message/sub_file_path.h"

#include <charconv>

#include "tool/text/format.h"

namespace emltool {

std::string dotted(const SubFilePath& path) { return joined(path, "."); }

std::optional<SubFilePath> parseSubFilePath(std::string_view text) {
    SubFilePath path;
    const char* at = text.data();
    const char* end = at + text.size();
    for (;;) {
        int32_t number = 0;
        auto [rest, failure] = std::from_chars(at, end, number);
        if (failure != std::errc{} || number < 0) return std::nullopt;
        path.push_back(number);
        if (rest == end) return path;
        if (*rest != '.') return std::nullopt;
        at = rest + 1;
    }
}

}  // namespace emltool
