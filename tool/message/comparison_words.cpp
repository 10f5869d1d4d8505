#include "tool/message/comparison_words.h"

#include <algorithm>

#include "tool/text/format.h"

namespace emltool {

namespace {

struct Words {
    std::string_view word;
    std::string_view text;
};

// In the order of Mark.
constexpr std::array<Words, 8> kMarks = {{{"yes", "yes"},
                                          {"line-ends", "line ends"},
                                          {"text", "as text"},
                                          {"named-only", "named only"},
                                          {"other-name", "other name"},
                                          {"other-bytes", "other bytes"},
                                          {"other-text", "other text"},
                                          {"no", "no"}}};

std::string counted(size_t count, const char* one, const char* many) {
    return formatted("{} {}", count, count == 1 ? one : many);
}

}  // namespace

std::string_view markWord(Mark mark) { return kMarks[static_cast<size_t>(mark)].word; }

std::string_view markText(Mark mark) { return kMarks[static_cast<size_t>(mark)].text; }

std::string disagreement(const Comparison& comparison) {
    std::vector<std::string> all;
    const auto files = static_cast<size_t>(
        std::ranges::count_if(comparison.contents, [](const ContentRow& row) { return !row.agrees(); }));
    if (files != 0) all.push_back(counted(files, "file", "files"));
    const auto anyOf = [&](auto differs) { return std::ranges::any_of(comparison.readings, differs); };
    if (anyOf([](const ReadingResult& one) { return !one.subject.agrees; })) all.emplace_back("the subject");
    if (anyOf([](const ReadingResult& one) { return !one.text.agrees; })) all.emplace_back("the text");
    if (all.empty()) all.emplace_back("parts that are left out");
    return joined(all, ", ");
}

}  // namespace emltool
