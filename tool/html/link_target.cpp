#include "tool/html/link_target.h"

#include <algorithm>
#include <array>

#include "tool/text/ascii.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 6> kSchemes = {"http:", "https:", "mailto:", "tel:", "sms:", "ftp:"};

std::string_view withoutSlash(std::string_view text) {
    if (text.ends_with('/')) text.remove_suffix(1);
    return text;
}

}  // namespace

std::string linkTarget(std::string_view href) {
    std::string target;
    for (size_t at = 0; at < href.size();) {
        const size_t begin = at;
        const char32_t c = nextCharacter(href, at);
        // As browsers do: tabs and line ends are left out. A blank inside is kept in a form that needs no quotes.
        if (c == kNoCharacter || isControl(c) || isDirectionOverride(c)) continue;
        if (c == ' ') {
            if (!target.empty()) target += "%20";
        } else {
            target.append(href, begin, at - begin);
        }
    }
    while (target.ends_with("%20")) target.resize(target.size() - 3);
    if (target.starts_with("//")) target.insert(0, "https:");
    const bool isKnown = std::any_of(kSchemes.begin(), kSchemes.end(), [&](std::string_view scheme) {
        return startsWithNoCase(target, scheme) && target.size() > scheme.size();
    });
    return isKnown ? target : "";
}

bool namesTarget(std::string_view text, std::string_view target) {
    text = withoutSlash(text);
    target = withoutSlash(target);
    if (equalNoCase(text, target)) return true;
    constexpr std::array<std::string_view, 6> kStarts = {"mailto:",  "https://www.", "http://www.",
                                                         "https://", "http://",      "tel:"};
    return std::any_of(kStarts.begin(), kStarts.end(), [&](std::string_view start) {
        return startsWithNoCase(target, start) && equalNoCase(text, target.substr(start.size()));
    });
}

}  // namespace emltool
