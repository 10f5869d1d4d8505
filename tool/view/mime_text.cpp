#include "tool/view/mime_text.h"

#include <optional>

#include "tool/text/ascii.h"
#include "tool/text/charset_labels.h"
#include "tool/text/utf8.h"
#include "tool/view/html_tokens.h"

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

std::string calendarText(const emlreader::mime::Part& part) {
    std::string bytes = part.charset().empty() ? part.bytes() : "";
    return bytes.empty() || !isUtf8(bytes) ? withoutInvalidBytes(part.text()) : bytes;
}

std::string htmlText(const emlreader::mime::Part& part) {
    std::string text;
    const emlreader::mime::Content content =
        part.extract([&](std::string_view piece) { text += piece; }, emlreader::mime::Form::Text);
    if (content.guessed()) {
        const std::string bytes = part.bytes();
        const std::string label = isUtf8(bytes) ? "" : metaCharset(bytes);
        std::optional<std::string> converted;
        if (!label.empty()) converted = fromLabelledCharset(label, bytes);
        if (converted) return withoutInvalidBytes(*converted);
    }
    return withoutInvalidBytes(text);
}

}  // namespace emltool
