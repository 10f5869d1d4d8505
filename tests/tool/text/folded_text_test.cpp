#include "tool/text/folded_text.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

// The lines, notes with a star before them.
std::string folded(std::string_view text) {
    std::string result;
    for (const FoldedLine& line : foldedLines(text, textSpans(text))) {
        result += (line.isNote ? "*" : "") + line.text + "\n";
    }
    return result;
}

TEST(FoldedText, SaysWhatIsLeftOut) {
    struct Row {
        const char* rule;
        const char* text;
        const char* folded;
    };
    const Row rows[] = {
        {"own text stays", "a\n\nb\n", "a\n\nb\n"},
        {"a quote", "> a\n>\n> b\nc\n", "*[3 quoted lines]\nc\n"},
        {"one line", "> a\nb\n", "*[1 quoted line]\nb\n"},
        {"an attribution and its quote are one", "On 4 March 2025, Anna wrote:\n\n> a\n> b\n\nc\n",
         "*[attribution and 2 quoted lines]\n\nc\n"},
        {"an attribution without a quote",
         "a\n\nOn Tue, 4 Mar 2025 at 10:15, Anna <anna@example.org> wrote:\n",
         "a\n\n*[attribution, 1 line]\n"},
        {"a signature", "a\n-- \nAnna\nUlm\n", "a\n*[signature, 3 lines]\n"},
        {"a footer", "a\n\n________\nFriends mailing list\nfriends@example.org\n",
         "a\n\n*[footer, 3 lines]\n"},
        {"empty lines inside count, those at the end do not", "> a\n\n> b\n\n\nc\n",
         "*[3 quoted lines]\n\nc\n"},
        {"empty lines before do not", "\n\n> a\n", "*[1 quoted line]\n"},
        {"all of them", "a\n\nOn 4 March 2025, Anna wrote:\n> b\nc\n-- \nd\n\n_____\nx mailing list\n",
         "a\n\n*[attribution and 1 quoted line]\nc\n*[signature, 2 lines]\n\n*[footer, 2 lines]\n"},
        {"nothing", "", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(folded(row.text), row.folded) << row.rule;
}

}  // namespace
}  // namespace emltool
