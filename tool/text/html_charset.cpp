#include "tool/text/html_charset.h"

#include "tool/text/ascii.h"
#include "tool/text/html_tokens.h"

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
    HtmlTokenizer tokenizer(html.substr(0, kExamined));
    for (HtmlToken token; tokenizer.next(token);) {
        if (token.kind != HtmlToken::Kind::kStart || token.name != "meta") continue;
        if (const std::string_view* charset = token.find("charset")) return lowerCase(*charset);
        const std::string_view* content = token.find("content");
        std::string found = content == nullptr ? "" : charsetIn(withoutReferences(*content));
        if (!found.empty()) return found;
    }
    return "";
}

}  // namespace emltool
