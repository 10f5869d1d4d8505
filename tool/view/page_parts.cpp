#include "tool/view/page_parts.h"

#include "tool/text/format.h"
#include "tool/view/inert_html.h"
#include "tool/view/style.h"

namespace emltool {

namespace {

// A page says so many things about its message, and counts the others.
constexpr size_t kMaxNotes = 20;

std::string warningList(const std::vector<Warning>& warnings) {
    if (warnings.empty()) return "";
    std::string items;
    for (size_t i = 0; i < warnings.size() && i < kMaxNotes; ++i) {
        items += formatted("<li>{}</li>\n", shown(warnings[i].text));
    }
    if (warnings.size() > kMaxNotes) {
        items += formatted("<li>and {} more; \"eml list\" has them all</li>\n", warnings.size() - kMaxNotes);
    }
    if (warnings.size() == 1) return note("Note: " + shown(warnings.front().text));
    return formatted(
        "<details class=\"note\"><summary>{} notes about this message</summary>\n<ul>\n{}</ul></details>\n",
        warnings.size(), items);
}

}  // namespace

std::string policyTags(std::string_view script) {
    std::string policy =
        "default-src 'none'; img-src data:; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'";
    if (!script.empty()) policy.append("; script-src ").append(script);
    return formatted(
        "<meta http-equiv=\"Content-Security-Policy\" content=\"{}\">"
        "<meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">"
        "<meta name=\"referrer\" content=\"no-referrer\">",
        policy);
}

std::string shown(std::string_view text) { return escapeHtml(visible(text)); }

std::string shownLines(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        size_t end = text.find_first_of("\t\n");
        result += shown(text.substr(0, end));
        if (end == std::string_view::npos) break;
        result += text[end];
        text.remove_prefix(end + 1);
    }
    return result;
}

std::string note(std::string_view text) { return formatted("<p class=\"note\">{}</p>\n", text); }

std::string wholePage(const PageContent& content, const PageLinks& links) {
    std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n" +
                       policyTags() +
                       "\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
                       shown(content.title) + "</title>\n<style>\n" + std::string(kCommonStyle) +
                       std::string(kViewStyle) + "</style>\n</head>\n";
    const std::string_view kind = content.isOneMessage ? "with-tree one-message" : "with-tree";
    page += content.tree.empty() ? "<body>\n" : formatted("<body class=\"{}\">\n", kind);
    if (!links.index.empty()) {
        page += formatted("<nav class=\"pages\"><a href=\"{}\">\u2190 All messages</a></nav>\n",
                          escapeHtml(links.index));
    }
    if (!content.tree.empty()) {
        page += "<nav class=\"tree\" aria-label=\"Parts of the message\">\n<ul>\n" + content.tree +
                "</ul>\n</nav>\n";
    }
    page += "<main>\n" + warningList(content.warnings) + content.articles;
    return page +
           "<footer>Made by eml view. Nothing in this page runs, or reaches the network by itself.</footer>\n"
           "</main>\n</body>\n</html>\n";
}

}  // namespace emltool
