#include "tool/view/inert_html.h"

#include <algorithm>
#include <array>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

bool endsName(std::string_view text, size_t length) {
    return text.size() == length ||
           std::string_view(" \t\r\n\f/>").find(text[length]) != std::string_view::npos;
}

constexpr std::array<std::string_view, 14> kRenamed = {"a",    "applet", "area",   "base",        "embed",
                                                       "form", "frame",  "iframe", "fencedframe", "frameset",
                                                       "link", "meta",   "object", "portal"};
constexpr std::array<std::string_view, 5> kLoading = {"src", "srcset", "background", "poster", "data"};

// The value at the beginning of `text`, which follows "NAME=" or "url(": quotes and blanks are skipped.
std::string_view valueOf(std::string_view text) {
    size_t start = text.find_first_not_of(" \t\r\n\"'");
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

bool isRemote(std::string_view value) {
    return startsWithNoCase(value, "http:") || startsWithNoCase(value, "https:") ||
           startsWithNoCase(value, "//") || startsWithNoCase(value, "ftp:");
}

void countValue(std::string_view value, BlockedContent& blocked) {
    if (isRemote(value)) ++blocked.remote;
    if (startsWithNoCase(value, "cid:")) ++blocked.inlineImages;
}

// Counts what is at the beginning of `rest`, which follows `before`.
void count(std::string_view rest, char before, BlockedContent& blocked) {
    if (rest[0] == '<') {
        std::string_view tag = rest.substr(1);
        if (startsWithNoCase(tag, "script") && endsName(tag, 6)) ++blocked.scripts;
        if (startsWithNoCase(tag, "form") && endsName(tag, 4)) ++blocked.forms;
        if (startsWithNoCase(tag, "link") && endsName(tag, 4)) ++blocked.remote;
        return;
    }
    if (startsWithNoCase(rest, "url(")) countValue(valueOf(rest.substr(4)), blocked);
    if (std::string_view(" \t\r\n\f\"'/").find(before) == std::string_view::npos) return;
    for (std::string_view attribute : kLoading) {
        if (!startsWithNoCase(rest, attribute)) continue;
        size_t equals = rest.find_first_not_of(" \t\r\n", attribute.size());
        if (equals == std::string_view::npos || rest[equals] != '=') continue;
        countValue(valueOf(rest.substr(equals + 1)), blocked);
    }
}

// Where to insert "x-" if `text` begins with an element to rename; otherwise 0.
size_t renamedAt(std::string_view text) {
    size_t at = text.size() > 1 && text[1] == '/' ? 2 : 1;
    std::string_view rest = text.substr(std::min(at, text.size()));
    bool renamed = std::any_of(kRenamed.begin(), kRenamed.end(), [&](std::string_view word) {
        return startsWithNoCase(rest, word) && endsName(rest, word.size());
    });
    return renamed ? at : 0;
}

InertHtml withRenamedElements(std::string_view html) {
    constexpr std::string_view kCounted = "<usbpd";  // the first letters of what is counted
    InertHtml inert;
    inert.html.reserve(html.size());
    for (size_t i = 0; i < html.size(); ++i) {
        char c = html[i];
        if (kCounted.find(lower(c)) != std::string_view::npos) {
            count(html.substr(i), i == 0 ? ' ' : html[i - 1], inert.blocked);
        }
        size_t at = c == '<' ? renamedAt(html.substr(i)) : 0;
        if (at == 0) {
            inert.html += c;
        } else {
            inert.html.append(html, i, at).append("x-");
            i += at - 1;
        }
    }
    return inert;
}

}  // namespace

InertHtml makeInert(std::string_view html) {
    // Browsers treat zero bytes differently. All are removed first, so that none can hide a name.
    std::string whole(html);
    std::erase(whole, '\0');
    return withRenamedElements(whole);
}

std::string escapeHtml(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            case '\0':
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace emltool
