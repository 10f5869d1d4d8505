#include "tool/html/html_text.h"

#include <algorithm>
#include <array>

#include "tool/html/html_document.h"
#include "tool/html/html_parser.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/text/rtf_text.h"

namespace emltool {

namespace {

// The source, where the HTML cannot be read.
Block sourceOf(std::string_view html) {
    Block source;
    source.blocks.push_back({Block::Kind::kPreformatted, false, false, 0, {}, {}});
    std::vector<Inline>& inlines = source.blocks[0].inlines;
    while (!html.empty()) {
        const size_t end = std::min(html.find('\n'), html.size());
        if (!inlines.empty()) inlines.push_back({Inline::Kind::kBreak, "", ""});
        inlines.push_back({Inline::Kind::kText, std::string(html.substr(0, end)), ""});
        html.remove_prefix(std::min(end + 1, html.size()));
    }
    return source;
}

void warnOfHidden(const HtmlDocument& document, std::vector<Warning>& warnings) {
    if (document.hiddenLength <= document.visibleLength) return;
    warnings.push_back(
        {"hidden-text", formatted("its HTML hides more text ({} characters) than it shows ({})",
                                  document.hiddenLength, document.visibleLength)});
}

}  // namespace

bool looksLikeHtml(std::string_view firstLine) {
    constexpr std::array<std::string_view, 14> kOpenings = {"<html", "<!doctype", "<head", "<body",  "<meta",
                                                            "<div",  "<p>",       "<p ",   "<table", "<span",
                                                            "<font", "<br",       "<b>",   "<h1"};
    const size_t begin = firstLine.find_first_not_of(" \t\r\n\f");
    if (begin == std::string_view::npos) return false;
    const std::string start = lowerCase(firstLine.substr(begin, 10));
    return std::any_of(kOpenings.begin(), kOpenings.end(),
                       [&](std::string_view opening) { return start.starts_with(opening); });
}

ReadHtml htmlDocument(std::string_view html) {
    ReadHtml result;
    if (html.find_first_not_of(" \t\r\n") == std::string_view::npos) return result;
    const ParsedHtml parsed = parseHtml(html);
    if (!parsed.problem.empty()) {
        result.warnings.push_back({"html-unread", parsed.problem + "; its source is shown"});
        result.content = sourceOf(html);
        return result;
    }
    HtmlDocument document = readHtml(parsed.tree);
    if (parsed.isNestedTooDeep) {
        result.warnings.push_back(
            {"html-too-deep", "elements of its HTML are nested too deep; their text was kept"});
    }
    if (!document.isComplete) {
        result.warnings.push_back(
            {"html-styles", "its style sheets are too large; hidden text may be among what is shown"});
    }
    warnOfHidden(document, result.warnings);
    result.content = std::move(document.content);
    result.hidden = std::move(document.hidden);
    return result;
}

HtmlText textOfHtml(std::string_view html, LinkStyle links) {
    ReadHtml read = htmlDocument(html);
    return {documentText(read.content, links), std::move(read.hidden), std::move(read.warnings)};
}

HtmlText textOfRtf(std::span<const uint8_t> rtf, LinkStyle links) {
    if (const std::optional<std::string> html = htmlInRtf(rtf)) return textOfHtml(*html, links);
    return {rtfToText(rtf), "", {}};
}

}  // namespace emltool
