#include "tool/view/mail_body.h"

#include <vector>

#include "tool/html/html_document.h"
#include "tool/html/html_parser.h"
#include "tool/text/format.h"
#include "tool/view/page_parts.h"
#include "tool/view/style.h"

namespace emltool {

namespace {

std::string_view themeOf(const InertHtml& inert) {
    if (inert.hasDarkForm) return "both";
    return inert.hasColours ? "light" : "plain";
}

std::string frameDocument(const InertHtml& inert, std::string_view theme) {
    const bool isLight = theme == "light";
    return formatted(
        "<!DOCTYPE html><html class=\"{0}\"><head><meta charset=\"utf-8\">{1}"
        "<meta name=\"color-scheme\" "
        "content=\"{2}\"><style>{3}{4}</style><style>{5}</style></head><body>{6}</body></html>",
        theme, policyTags(), isLight ? "light" : "light dark", kFrameStyle, kMailStyle, inert.styles,
        inert.html);
}

// Lines that begin with ">" are what the message answers.
std::string quoteRuns(std::string_view text) {
    std::string result;
    std::string run;
    bool isQuote = false;
    auto give = [&] {
        if (run.empty()) return;
        result += formatted("<pre{}>{}</pre>\n", isQuote ? " class=\"quote\"" : "", shownLines(run));
        run.clear();
    };
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
        if (line.starts_with('>') != isQuote) {
            give();
            isQuote = !isQuote;
        }
        run += line;
        text.remove_prefix(line.size());
    }
    give();
    return result;
}

// What nobody sees is worth a word where it is more than what can be seen.
std::string hiddenNote(const HtmlTree& tree) {
    const HtmlDocument document = readHtml(tree);
    if (document.hiddenLength <= document.visibleLength) return "";
    return note(
        formatted("The message hides more text ({} characters) than it shows.", document.hiddenLength));
}

}  // namespace

std::string blockedText(const BlockedContent& blocked) {
    std::vector<std::string> items;
    auto add = [&](size_t count, std::string_view one, std::string_view many) {
        if (count != 0) items.push_back(formatted("{} {}", count, count == 1 ? one : many));
    };
    add(blocked.scripts, "script", "scripts");
    add(blocked.remote, "item from the network", "items from the network");
    add(blocked.forms, "form", "forms");
    return joined(items, ", ");
}

std::string htmlBody(std::string_view html, const ReferenceFinder& find) {
    const ParsedHtml parsed = parseHtml(html);
    if (!parsed.problem.empty()) {
        return note(shown("The HTML is not shown: " + parsed.problem + ". This is its source.")) +
               textBody(html);
    }
    const InertHtml inert = makeInert(parsed.tree, find);
    const std::string_view theme = themeOf(inert);
    std::string section = hiddenNote(parsed.tree);
    if (parsed.isNestedTooDeep) section += note("Some elements are nested too deep; their text is shown.");
    const std::string refused = blockedText(inert.blocked);
    if (!refused.empty()) section += note("Blocked: " + refused + ".");
    if (inert.blocked.missingImages != 0) {
        const size_t count = inert.blocked.missingImages;
        section +=
            note(formatted("{} picture{} of the message cannot be shown: not in it, too large, or of a type "
                           "that browsers do not show.",
                           count, count == 1 ? "" : "s"));
    }
    section += formatted(
        "<div class=\"mail {0}\">\n"
        "<div class=\"copy\" inert aria-hidden=\"true\"><div class=\"host\"><template "
        "shadowrootmode=\"closed\">"
        "<style>{1}{5}</style><style>{2}</style>{3}</template></div></div>\n"
        "<iframe sandbox=\"allow-popups allow-popups-to-escape-sandbox\" title=\"The message as its sender "
        "made it\" referrerpolicy=\"no-referrer\" "
        "srcdoc=\"{4}\"></iframe>\n</div>\n",
        theme, kMailStyle, inert.styles, inert.html, escapeHtml(frameDocument(inert, theme)),
        theme == "plain" ? kPlainMailStyle : std::string_view());
    return section;
}

std::string textBody(std::string_view text) {
    const size_t end = text.find_last_not_of(" \t\r\n");
    if (end == std::string_view::npos) return "";
    text = text.substr(0, end + 1);
    std::string lines(text);
    std::erase(lines, '\r');
    return "<div class=\"text\">\n" + quoteRuns(lines) + "</div>\n";
}

}  // namespace emltool
