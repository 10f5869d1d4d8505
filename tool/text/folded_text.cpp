#include "tool/text/folded_text.h"

#include <algorithm>

#include "tool/text/format.h"
#include "tool/text/mail_words.h"

namespace emltool {

namespace {

using Lines = std::span<const std::string_view>;

// "1 line", "12 lines"
std::string counted(size_t lines, std::string_view what) {
    return formatted("{} {}{}", lines, what, lines == 1 ? "" : "s");
}

// Without the empty lines at both ends.
size_t countOf(Lines lines) {
    const auto begin = std::ranges::find_if_not(lines, isBlankLine);
    if (begin == lines.end()) return 0;
    size_t end = lines.size();
    while (isBlankLine(lines[end - 1])) --end;
    return end - static_cast<size_t>(begin - lines.begin());
}

std::string noteOf(SpanKind kind, size_t lines, bool afterAttribution) {
    switch (kind) {
        case SpanKind::kQuote:
            return formatted("[{}{}]", afterAttribution ? "attribution and " : "",
                             counted(lines, "quoted line"));
        case SpanKind::kAttribution:
        case SpanKind::kSignature:
        case SpanKind::kFooter:
        case SpanKind::kOwn:
            break;
    }
    return formatted("[{}, {}]", nameOf(kind), counted(lines, "line"));
}

}  // namespace

std::vector<FoldedLine> foldedLines(std::string_view text, std::span<const TextSpan> spans) {
    const std::vector<std::string_view> all = linesOf(text);
    std::vector<FoldedLine> folded;
    for (size_t i = 0; i < spans.size(); ++i) {
        const TextSpan& span = spans[i];
        const Lines lines = Lines(all).subspan(span.firstLine - 1, span.lines);
        if (span.kind == SpanKind::kOwn) {
            for (const std::string_view line : lines) folded.push_back({std::string(line), false});
            continue;
        }
        const bool isAttribution = span.kind == SpanKind::kAttribution;
        if (isAttribution && i + 1 < spans.size() && spans[i + 1].kind == SpanKind::kQuote) continue;
        const bool afterAttribution = i > 0 && spans[i - 1].kind == SpanKind::kAttribution;
        folded.push_back({noteOf(span.kind, countOf(lines), afterAttribution), true});
        if (isBlankLine(lines.back())) folded.push_back({"", false});
    }
    return folded;
}

}  // namespace emltool
