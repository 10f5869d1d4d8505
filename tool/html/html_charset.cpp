#include "tool/html/html_charset.h"

#include "tool/html/html_parser.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

// "text/html; charset=windows-1251"
std::string charsetIn(std::string_view content) {
    const std::string text = lowerCase(content);
    size_t at = text.find("charset");
    if (at == std::string::npos) return "";
    at = text.find_first_not_of(" \t", at + 7);
    if (at == std::string::npos || text[at] != '=') return "";
    at = text.find_first_not_of(" \t\"'", at + 1);
    if (at == std::string::npos) return "";
    return text.substr(at, text.find_first_of(" \t\"';", at) - at);
}

}  // namespace

std::string metaCharset(std::string_view html) {
    constexpr size_t kExamined = 4096;
    const HtmlTree tree = parseHtml(html.substr(0, kExamined)).tree;
    for (size_t node = 0; node < tree.size(); ++node) {
        if (tree.name(node) != "meta") continue;
        if (const auto charset = tree.find(node, "charset")) return lowerCase(*charset);
        const auto content = tree.find(node, "content");
        std::string found = content ? charsetIn(*content) : "";
        if (!found.empty()) return found;
    }
    return "";
}

}  // namespace emltool
