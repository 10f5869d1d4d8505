#include "tool/text/visible_text.h"

#include <gtest/gtest.h>

#include "tool/text/utf8.h"

namespace emltool {
namespace {

TEST(Visible, ShowsWhatCouldDriveATerminal) {
    struct {
        std::string text;
        std::string shown;
    } const cases[] = {
        {"plain – ünï 日本", "plain – ünï 日本"},
        {"\x1b[2J", "\\x1b[2J"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"a\tb\r\n", "a\\x09b\\x0d\\x0a"},
        {"\x7f", "\\x7f"},
        {"\xC2\x9B[2J", "\\x9b[2J"},
        {"a\u202Eb", "a\\u202eb"},
        {"a\u2028b", "a\\u2028b"},
        {"a\xFF\xC3", "a\\xff\\xc3"},
        {"\xED\xA0\x80", "\\xed\\xa0\\x80"},
        {"\xC0\xAF", "\\xc0\\xaf"},
    };
    for (const auto& c : cases) EXPECT_EQ(visible(c.text), c.shown);
}

TEST(Visible, LeavesNoControlCharacterOfAnyText) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            std::string text = {static_cast<char>(first), static_cast<char>(second)};
            std::string shown = visible(text);
            ASSERT_TRUE(isUtf8(shown));
            for (size_t position = 0; position < shown.size();) {
                ASSERT_FALSE(isControl(nextCharacter(shown, position))) << first << " " << second;
            }
        }
    }
}

TEST(DisplayWidth, CountsColumns) {
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("äöü"), 3U);
    EXPECT_EQ(displayWidth("日本"), 4U);
    EXPECT_EQ(displayWidth("e\u0301"), 1U);
    EXPECT_EQ(displayWidth(""), 0U);
}

TEST(HumanSize, HasAtMostThreeDigitsAndAUnitOfTwoColumns) {
    struct {
        unsigned long long bytes;
        const char* text;
    } const cases[] = {
        {0, "0 B "},
        {999, "999 B "},
        {1000, "1.0 kB"},
        {1449, "1.4 kB"},
        {9949, "9.9 kB"},
        {9950, "10 kB"},
        {999499, "999 kB"},
        {999500, "1.0 MB"},
        {12345678, "12 MB"},
        {1000000000, "1.0 GB"},
        {18446744073709551615ULL, "18 EB"},
    };
    for (const auto& c : cases) EXPECT_EQ(humanSize(c.bytes), c.text);
}

TEST(ShellWord, CanBeCopiedIntoAShell) {
    EXPECT_EQ(shellWord("a/b-c.eml"), "a/b-c.eml");
    EXPECT_EQ(shellWord("ünï.eml"), "ünï.eml");
    EXPECT_EQ(shellWord("a b.eml"), "'a b.eml'");
    EXPECT_EQ(shellWord("it's.eml"), "'it'\\''s.eml'");
    EXPECT_EQ(shellWord("$(x)"), "'$(x)'");
    EXPECT_EQ(shellWord(""), "''");
}

}  // namespace
}  // namespace emltool
