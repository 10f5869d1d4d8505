#include "tool/text/significant_text.h"

#include <gtest/gtest.h>

#include <array>

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* text;
    const char* kept;
};

constexpr std::array kRows = std::to_array<Row>({
    {"white space does not count", " a\tb\r\nc\n\nd ", "abcd"},
    {"marks of quoted lines do not count", "> a\n>> b\n> > c", "abc"},
    {"a mark inside a line counts", "a > b", "a>b"},
    {"a mark after CR alone is at the beginning of a line", "a\r> b", "ab"},
    {"other characters count", "\xC3\xA4\xC2\xA0z", "\xC3\xA4\xC2\xA0z"},
    {"nothing", "", ""},
    {"marks and white space alone", "> \n>\n", ""},
});

TEST(SignificantText, Rules) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(significantText(row.text), row.kept);
    }
}

TEST(SignificantText, AnExcerptBeginsAtTheSignificantByte) {
    EXPECT_EQ(excerptAt("> one\n> two three", 3, 20), "two three");
    EXPECT_EQ(excerptAt("one two", 0, 5), "one t");
    EXPECT_EQ(excerptAt("one", 2, 5), "e");
    EXPECT_EQ(excerptAt("one", 3, 5), "");
    EXPECT_EQ(excerptAt("", 0, 5), "");
    EXPECT_EQ(excerptAt("a\n\n b", 0, 9), "a b");
}

TEST(SignificantText, AnExcerptBeginsWithAWholeCharacter) {
    EXPECT_EQ(excerptAt("a\xC3\xA4z", 2, 9), "\xC3\xA4z");
}

TEST(SignificantText, TheFirstDifference) {
    EXPECT_EQ(firstDifference("abc", "abd"), 2u);
    EXPECT_EQ(firstDifference("abc", "abcd"), 3u);
    EXPECT_EQ(firstDifference("", "a"), 0u);
}

}  // namespace
}  // namespace emltool
