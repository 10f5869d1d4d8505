#include <algorithm>
#include <span>

#include "tool/html/css_sheet.h"
#include "tool/text/ascii.h"

namespace emltool {

namespace {

using Kind = CssToken::Kind;
using Tokens = std::span<const CssToken>;

// The width of a window on a desktop, in CSS pixels.
constexpr double kWidth = 1000;

bool isWord(const CssToken& token, std::string_view word) {
    return token.kind == Kind::kWord && equalNoCase(token.text, word);
}

double pixelsOf(const CssToken& token) {
    return token.unit == "em" || token.unit == "rem" ? token.number * 16 : token.number;
}

// "(max-width: 600px)", without the brackets. One that is not known does not hold, as in a browser.
bool meetsFeature(Tokens feature) {
    std::vector<CssToken> words;
    std::copy_if(feature.begin(), feature.end(), std::back_inserter(words),
                 [](const CssToken& token) { return token.kind != Kind::kBlank; });
    if (words.empty() || words[0].kind != Kind::kWord) return false;
    const std::string name = lowerCase(words[0].text);
    if (words.size() != 3 || !words[1].is(':'))
        return words.size() == 1 && (name == "color" || name == "width");
    const CssToken& value = words[2];
    if (value.kind == Kind::kNumber) {
        const double pixels = pixelsOf(value);
        if (name == "max-width" || name == "max-device-width") return pixels >= kWidth;
        if (name == "min-width" || name == "min-device-width") return pixels <= kWidth;
        return name == "min-resolution" && pixels <= 1;
    }
    if (value.kind != Kind::kWord) return false;
    const std::string word = lowerCase(value.text);
    return (name == "prefers-color-scheme" && word == "light") ||
           (name == "orientation" && word == "landscape");
}

// "screen and (max-width: 600px)".
bool meetsQuery(Tokens query) {
    bool isNegated = false;
    bool isMet = true;
    bool any = false;
    for (size_t i = 0; i < query.size(); ++i) {
        const CssToken& token = query[i];
        if (token.kind == Kind::kBlank || isWord(token, "and") || isWord(token, "only")) continue;
        if (isWord(token, "not")) {
            isNegated = true;
            continue;
        }
        any = true;
        if (token.is('(')) {
            size_t end = i + 1;
            while (end < query.size() && !query[end].is(')')) ++end;
            isMet = isMet && meetsFeature(query.subspan(i + 1, end - i - 1));
            i = end;
        } else {
            isMet = isMet && (isWord(token, "all") || isWord(token, "screen"));
        }
    }
    return !any || isMet != isNegated;
}

}  // namespace

bool meetsMedia(const std::vector<CssToken>& query) {
    Tokens rest(query);
    if (rest.empty()) return true;
    while (!rest.empty()) {
        const auto comma =
            std::find_if(rest.begin(), rest.end(), [](const CssToken& token) { return token.is(','); });
        const auto length = static_cast<size_t>(comma - rest.begin());
        if (meetsQuery(rest.first(length))) return true;
        rest = rest.subspan(std::min(length + 1, rest.size()));
    }
    return false;
}

}  // namespace emltool
