#include "tool/text/quote_marks.h"

#include <algorithm>
#include <cstdint>

#include "tool/text/mail_words.h"

namespace emltool {

namespace {

// How surely a line is quoted.
enum class Mark : uint8_t {
    kNone,
    kDoubtful,  // ">From here", ">= 3"
    kLikely,    // " > indented"
    kCertain
};

// A ">" at the beginning of a line with one of these after it may be no mark.
constexpr std::string_view kDoubtfulAfterMark = "=:;_-,)/";

Mark markOf(std::string_view line) {
    constexpr size_t kMostIndented = 3;
    const size_t begin = line.find_first_not_of(' ');
    if (begin > kMostIndented || line[begin] != '>') return Mark::kNone;
    const std::string_view rest = line.substr(begin + 1);
    if (rest.starts_with("From ")) return Mark::kDoubtful;  // an mbox quotes it so
    if (!rest.empty() && kDoubtfulAfterMark.find(rest.front()) != std::string_view::npos)
        return Mark::kDoubtful;
    return begin == 0 ? Mark::kCertain : Mark::kLikely;
}

bool isPrompt(std::string_view line) { return line.starts_with(">>> ") || line == ">>>"; }

// One certain mark makes a run of marked lines a quote, and so do two likely ones.
void markRun(std::span<const Mark> marks, size_t begin, std::vector<bool>& quoted) {
    size_t end = begin;
    while (end < marks.size() && marks[end] != Mark::kNone) ++end;
    const auto run = marks.subspan(begin, end - begin);
    const bool isQuote =
        std::ranges::count(run, Mark::kCertain) > 0 || std::ranges::count(run, Mark::kLikely) > 1;
    for (size_t i = begin; i < end; ++i) quoted[i] = isQuote;
}

// "| ", or up to four letters and "> ".
std::string_view prefixOf(std::string_view line) {
    constexpr size_t kMostInitials = 4;
    if (line.starts_with("| ") || line == "|") return line.substr(0, 1);
    const size_t mark = line.find('>');
    if (mark == std::string_view::npos || mark == 0 || mark > kMostInitials) return {};
    const std::string_view initials = line.substr(0, mark);
    const bool areLetters = std::ranges::all_of(
        initials, [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); });
    return areLetters ? line.substr(0, mark + 1) : std::string_view{};
}

// Also after an empty line, as long as such lines follow.
template <typename IsQuoted>
size_t runOf(std::span<const std::string_view> lines, IsQuoted isQuoted) {
    size_t end = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (isBlankLine(lines[i])) continue;
        if (!isQuoted(lines[i])) break;
        end = i + 1;
    }
    return end;
}

bool isTableRow(std::string_view line) { return line.size() > 1 && line.ends_with('|'); }

}  // namespace

std::vector<bool> quotedLines(std::span<const std::string_view> lines) {
    std::vector<Mark> marks;
    marks.reserve(lines.size());
    bool allPrompts = true;
    for (const std::string_view line : lines) {
        marks.push_back(markOf(line));
        if (marks.back() != Mark::kNone) allPrompts = allPrompts && isPrompt(line);
    }
    std::vector<bool> quoted(lines.size());
    if (allPrompts) return quoted;
    for (size_t i = 0; i < marks.size(); ++i) {
        if (marks[i] != Mark::kNone && (i == 0 || marks[i - 1] == Mark::kNone)) markRun(marks, i, quoted);
    }
    return quoted;
}

size_t quotedAfterAttribution(std::span<const std::string_view> lines) {
    const auto first = std::ranges::find_if_not(lines, isBlankLine);
    if (first == lines.end()) return 0;
    if (const std::string_view prefix = prefixOf(*first); !prefix.empty()) {
        const auto isQuoted = [prefix](std::string_view line) {
            return prefixOf(line) == prefix && !isTableRow(line);
        };
        return runOf(lines, isQuoted);
    }
    return runOf(lines,
                 [](std::string_view line) { return line.starts_with("  ") || line.starts_with('\t'); });
}

}  // namespace emltool
