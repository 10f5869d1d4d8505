#include "mime/encoded_words.h"

#include <gtest/gtest.h>

#include <string>

#include "mime/heap_text.h"

namespace {

using namespace eml;
using namespace std::string_literals;
using eml::test::HeapText;
using eml::test::ToyHost;

std::string decoded(std::string_view text, const HeaderText& how) {
    HeapText out;
    appendDecoded(text, how, out.builder());
    return out.str();
}

struct Row {
    const char* rule;
    std::string text;
    std::string expected;
};

void expectRows(std::initializer_list<Row> rows) {
    ToyHost host;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(decoded(row.text, {&host.record, {}}), row.expected);
        // Text around a row changes nothing in it.
        EXPECT_EQ(decoded("x " + row.text, {&host.record, {}}), "x " + row.expected);
        EXPECT_EQ(host.opened, host.closed);
    }
}

TEST(EncodedWords, TheExamplesOfRfc2047Section8) {
    expectRows({
        {"section 8, Keith Moore", "=?US-ASCII?Q?Keith_Moore?= <moore@cs.utk.edu>",
         "Keith Moore <moore@cs.utk.edu>"},
        {"section 8, Keld", "=?ISO-8859-1?Q?Keld_J=F8rn_Simonsen?= <keld@dkuug.dk>",
         "Keld Jørn Simonsen <keld@dkuug.dk>"},
        {"section 8, Andre", "=?ISO-8859-1?Q?Andr=E9?= Pirard <PIRARD@vm1.ulg.ac.be>",
         "André Pirard <PIRARD@vm1.ulg.ac.be>"},
        {"section 8, a subject in two words of different charsets",
         "=?ISO-8859-1?B?SWYgeW91IGNhbiByZWFkIHRoaXMgeW8=?=\r\n "
         "=?UTF-8?B?dSB1bmRlcnN0YW5kIHRoZSBleGFtcGxlLg==?=",
         "If you can read this you understand the example."},
        {"section 8, (a)", "(=?ISO-8859-1?Q?a?=)", "(a)"},
        {"section 8, (a b)", "(=?ISO-8859-1?Q?a?= b)", "(a b)"},
        {"section 8, (ab)", "(=?ISO-8859-1?Q?a?= =?ISO-8859-1?Q?b?=)", "(ab)"},
        {"section 8, (ab), two blanks", "(=?ISO-8859-1?Q?a?=  =?ISO-8859-1?Q?b?=)", "(ab)"},
        {"section 8, (ab), folded", "(=?ISO-8859-1?Q?a?=\r\n    =?ISO-8859-1?Q?b?=)", "(ab)"},
        {"section 8, (a b), the blank encoded", "(=?ISO-8859-1?Q?a_b?=)", "(a b)"},
        {"section 8, (a b), in the second word", "(=?ISO-8859-1?Q?a?= =?ISO-8859-1?Q?_b?=)", "(a b)"},
        {"RFC 2231 section 5, a language", "=?US-ASCII*EN?Q?Keith_Moore?= <moore@cs.utk.edu>",
         "Keith Moore <moore@cs.utk.edu>"},
    });
}

TEST(EncodedWords, BothEncodingsAreReadLeniently) {
    expectRows({
        {"Q", "=?utf-8?Q?caf=C3=A9?=", "café"},
        {"lower case everywhere", "=?utf-8?q?caf=c3=a9?=", "café"},
        {"upper case charset", "=?UTF-8?Q?caf=C3=A9?=", "café"},
        {"_ is a blank, =5F is not", "=?utf-8?Q?a_b=5Fc?=", "a b_c"},
        {"an escape that is none stays", "=?utf-8?Q?100=G1=4?=", "100=G1=4"},
        {"= at the end of a word", "=?utf-8?Q?a=?=", "a="},
        {"blanks inside a Q word", "=?utf-8?Q?Hello there, World?=", "Hello there, World"},
        {"raw 8-bit inside a Q word", "=?utf-8?Q?caf\xC3\xA9?=", "café"},
        {"raw Latin-1 inside its word", "=?iso-8859-1?Q?caf\xE9?=", "café"},
        {"? inside a Q word", "=?utf-8?Q?what? now?=", "what? now"},
        {"folded inside a Q word", "=?utf-8?Q?one\r\n two?=", "one two"},
        {"an empty word",
         "=?utf-8?Q?"
         "?=",
         ""},
        {"B", "=?utf-8?B?Y2Fmw6k=?=", "café"},
        {"lower case b", "=?utf-8?b?Y2Fmw6k=?=", "café"},
        {"without padding", "=?utf-8?B?Y2Fmw6k?=", "café"},
        {"without padding, two digits", "=?utf-8?B?YQ?=", "a"},
        {"padding in the middle: pieces joined", "=?utf-8?B?YQ==Yg==?=", "ab"},
        {"too much padding", "=?utf-8?B?YWI====?=", "ab"},
        {"blanks inside", "=?utf-8?B?Y2Fm w6k=?=", "café"},
        {"folded inside", "=?utf-8?B?Y2Fm\r\n w6k=?=", "café"},
        {"foreign characters", "=?utf-8?B?Y2*Fm.w6k=?=", "café"},
        {"the alphabet for URLs", "=?utf-8?B?4oKs4oCT_-8?=", "€–\uFFFD\uFFFD"},
        {"an empty B word",
         "=?utf-8?B?"
         "?=",
         ""},
        {"a lone digit", "=?utf-8?B?Y?=", ""},
        {"more than 75 characters",
         "=?utf-8?Q?" + std::string(200, 'x') + "=C3=A9?=", std::string(200, 'x') + "é"},
        {"the last = is missing, at the end", "=?utf-8?Q?caf=C3=A9?", "café"},
        {"the last = of a B word is missing, before a blank", "=?utf-8?B?Y2Fmw6k=? x", "café x"},
        {"an empty charset is guessed", "=??Q?caf=E9?=", "café"},
    });
}

TEST(EncodedWords, WhatIsNoneStaysAsItStands) {
    expectRows({
        {"unterminated", "=?utf-8?Q?caf=C3=A9", "=?utf-8?Q?caf=C3=A9"},
        {"unterminated before another", "=?utf-8?Q?caf =?utf-8?Q?=C3=A9?=", "=?utf-8?Q?caf é"},
        {"no text", "=?utf-8?Q?", "=?utf-8?Q?"},
        {"no encoding", "=?utf-8?", "=?utf-8?"},
        {"only a charset", "=?utf-8", "=?utf-8"},
        {"only the beginning", "=?", "=?"},
        {"an encoding that nobody knows", "=?utf-8?X?abc?=", "=?utf-8?X?abc?="},
        {"two letters of encoding", "=?utf-8?QP?abc?=", "=?utf-8?QP?abc?="},
        {"a blank in the charset", "=?utf 8?Q?abc?=", "=?utf 8?Q?abc?="},
        {"a charset that nobody knows", "=?x-none?Q?caf=E9?=", "=?x-none?Q?caf=E9?="},
        {"two of them keep the blank", "=?x-none?Q?a?= =?x-none?Q?b?=", "=?x-none?Q?a?= =?x-none?Q?b?="},
        {"one of them beside a good one",
         "=?x-none?Q?a?= =?utf-8?Q?b?= =?x-none?Q?c?=", "=?x-none?Q?a?= b =?x-none?Q?c?="},
        {"a formula", "a=?b", "a=?b"},
        {"doubled =", "==?utf-8?Q?b?=", "=b"},
        {"doubled =?", "=?=?utf-8?Q?b?=", "=?b"},
    });
}

TEST(EncodedWords, WordsSideBySideAreJoined) {
    expectRows({
        {"a character split between two Q words", "=?utf-8?Q?=E2=82?= =?utf-8?Q?=AC?=", "€"},
        {"a character split between two B words", "=?utf-8?B?4oI=?= =?utf-8?B?rA==?=", "€"},
        {"folded between", "=?utf-8?B?4oI=?=\r\n\t=?utf-8?B?rA==?=", "€"},
        {"nothing between", "=?utf-8?B?4oI=?==?utf-8?B?rA==?=", "€"},
        {"the charset in another case", "=?utf-8?Q?=E2=82?= =?UTF-8?q?=AC?=", "€"},
        {"with a language", "=?utf-8*en?Q?=E2=82?= =?utf-8*de?Q?=AC?=", "€"},
        {"split over three", "=?utf-8?Q?=F0=9F?= =?utf-8?Q?=98?= =?utf-8?Q?=80?=", "😀"},
        {"Q and B are not joined", "=?utf-8?Q?=E2=82?= =?utf-8?B?rA==?=", "\uFFFD\uFFFD"},
        {"other charsets are not joined", "=?utf-8?Q?=C3?= =?iso-8859-1?Q?=A9?=", "\uFFFD©"},
        {"the shift state of a host's charset goes on", "=?toy?Q?=0Ea?= =?toy?Q?b=0F?=", "аб"},
        {"a pair of a host's charset is split", "=?toy?B?wQ==?= =?toy?B?EA==?=", "А"},
        {"base64 cut between digits: one left over", "=?utf-8?B?Y2Fmw?= =?utf-8?B?6k=?=", "café"},
        {"base64 cut between digits: bits left over", "=?utf-8?B?Y2?= =?utf-8?B?Fmw6k=?=", "café"},
        {"base64 without padding in each", "=?utf-8?B?YWI?= =?utf-8?B?Y2Q?=", "abcd"},
        {"text between keeps its blanks", "=?utf-8?Q?a?= b =?utf-8?Q?c?=", "a b c"},
        {"an invalid character is cut off by text",
         "=?utf-8?Q?=E2=82?= x =?utf-8?Q?=AC?=", "\uFFFD x \uFFFD"},
    });
}

TEST(EncodedWords, WordsStandAnywhere) {
    expectRows({
        {"text before without a blank", "abc=?utf-8?Q?d?=", "abcd"},
        {"text after without a blank", "=?utf-8?Q?a?=bcd", "abcd"},
        {"in quotes", "\"=?utf-8?Q?a_b?=\"", "\"a b\""},
        {"in parentheses, no blanks", "(=?utf-8?Q?a?==?utf-8?Q?b?=)", "(ab)"},
        {"a comma between words", "=?utf-8?Q?a?=, =?utf-8?Q?b?=", "a, b"},
        {"two on lines", "=?utf-8?Q?a?=\r\n =?utf-8?Q?b?=\r\n c", "ab c"},
    });
}

TEST(EncodedWords, FoldingGoesAndBlanksStay) {
    expectRows({
        {"CR LF and a blank", "one\r\n two", "one two"},
        {"LF and a TAB", "one\n\ttwo", "one\ttwo"},
        {"CR alone", "one\r two", "one two"},
        {"several", "one\r\n\r\n two", "one two"},
        {"control characters stay", "a\x01\0b"s, "a\x01\0b"s},
    });
}

TEST(EncodedWords, LineEndsInsideAWordBecomeBlanks) {
    expectRows({
        {"Q", "=?utf-8?Q?a=0D=0Ab=0Ac?=", "a  b c"},
        {"B", "=?utf-8?B?YQ0KQmNjOiB4?=", "a  Bcc: x"},
        {"NUL stays", "=?utf-8?Q?a=00b?=", "a\0b"s},
    });
}

TEST(EncodedWords, InvalidTextIsReplacedAndUnlabelledTextGuessed) {
    expectRows({
        {"invalid UTF-8", "=?utf-8?Q?caf=E9?=", "caf\uFFFD"},
        {"8-bit in US-ASCII, UTF-8", "=?us-ascii?Q?caf=C3=A9?=", "café"},
        {"8-bit in US-ASCII, not UTF-8", "=?us-ascii?Q?caf=E9?=", "café"},
        {"unknown-8bit", "=?unknown-8bit?Q?caf=C3=A9?= =?unknown-8bit?Q?_caf=C3=A9?=", "café café"},
        {"unknown-8bit, not UTF-8", "=?unknown-8bit?B?Y2Fm6Q==?=", "café"},
        {"windows-1252 under the name of ISO-8859-1", "=?iso-8859-1?Q?=80?=", "€"},
        {"the host's charset", "=?toy?Q?=C1=10=80?=", "А\uFFFD"},
        {"raw UTF-8 (RFC 6532)", "café €", "café €"},
        {"raw Latin-1", "caf\xE9", "café"},
        {"raw UTF-8 beside a word", "é =?utf-8?Q?=C3=A9?= é", "é é é"},
        {"each line guessed for itself", "é\r\n caf\xE9", "é café"},
    });
}

TEST(EncodedWords, RawTextFollowsTheFallbackCharset) {
    ToyHost host;
    EXPECT_EQ(decoded("\xC1\x10 x", {&host.record, "toy"}), "А x");
    EXPECT_EQ(decoded("\xC1\x10 x", {nullptr, "toy"}), "Á\x10 x");
    EXPECT_EQ(decoded("=?unknown-8bit?Q?=C1=10?=", {&host.record, "toy"}), "А");
    EXPECT_EQ(decoded("=?us-ascii?Q?=C1=10?=", {&host.record, "x-none"}), "Á\x10");
}

TEST(EncodedWords, TrimmedTextHasNoBlanksAtItsEnds) {
    const auto trimmed = [](std::string_view text) {
        HeapText out;
        out.builder().append("kept ");
        appendDecodedTrimmed(text, {nullptr, {}}, out.builder());
        return out.str();
    };
    EXPECT_EQ(trimmed(" \r\n\t a b \r\n "), "kept a b");
    EXPECT_EQ(trimmed(" =?utf-8?Q?_a_?= "), "kept a");
    EXPECT_EQ(trimmed(""), "kept ");
    EXPECT_EQ(trimmed(" \r\n "), "kept ");
    EXPECT_EQ(trimmed("=?utf-8?Q?__?="), "kept ");
}

TEST(EncodedWords, AWordSaysWhereItEnds) {
    const std::string text = "=?utf-8*en?q?a b?= rest";
    const std::optional<EncodedWord> word = encodedWordAt(text);
    ASSERT_TRUE(word.has_value());
    EXPECT_EQ(word->charset, "utf-8");
    EXPECT_FALSE(word->base64);
    EXPECT_EQ(word->text, "a b");
    EXPECT_EQ(word->length, 18u);
    EXPECT_TRUE(hasEncodedWord("x " + text));
    EXPECT_FALSE(hasEncodedWord("x =?utf-8?q?a"));
    EXPECT_FALSE(hasEncodedWord(""));
}

// Whatever cut of these texts: it ends, reads in bounds, and gives UTF-8 without line ends.
TEST(EncodedWords, EveryCutOfOddTextsEnds) {
    ToyHost host;
    const std::string texts[] = {
        "=?utf-8?B?4oI=?= =?utf-8?B?rA==?= x=?toy?Q?=0Ea?=\r\n =?toy?Q?b=C1?= =?x?b?c?=",
        "=?=?=?q?=?q?=?utf-8?q?=?=?=?b?b?"
        "?=?=",
        "=?us-ascii?Q?=E9=0D=0A?=\r\r\n\n\x80\xFF",
    };
    for (const std::string& text : texts) {
        for (size_t from = 0; from < text.size(); ++from) {
            for (size_t to = from; to <= text.size(); ++to) {
                const std::string cut = text.substr(from, to - from);
                const std::string result = decoded(cut, {&host.record, "toy"});
                ASSERT_EQ(result.find_first_of("\r\n"), std::string::npos) << cut;
            }
        }
    }
    EXPECT_EQ(host.opened, host.closed);
}

// Tries of a word stop where another could begin: a million beginnings cost what their bytes cost. (Measured by the
// work that is done for twice as much in tests/budgets; here it would run for minutes if it were quadratic.)
TEST(EncodedWords, HostileTextsStayCheap) {
    const auto repeated = [](std::string_view unit, size_t size) {
        std::string text;
        while (text.size() < size) text += unit;
        return text;
    };
    for (const char* unit :
         {"=?", "=?utf-8?Q?", "=?utf-8?Q?x ", "=?utf-8?B?x? ", "=?x?q?=?=", "=?utf-8?Q?a?= ",
          "=?utf-8?Q?a?= =?utf-8?B?YQ==?= ", "=?x-none?Q?a?= ", "=?utf-8?Q?a??"}) {
        const std::string text = repeated(unit, 1 << 18);
        EXPECT_LE(decoded(text, {nullptr, {}}).size(), text.size()) << unit;
    }
}

TEST(EncodedWords, ExhaustedMemoryEndsQuietly) {
    const std::string text = "x =?utf-8?Q?=E2=82?= =?utf-8?Q?=AC?= " + std::string(9000, '\xE9');
    HeapText measured;
    appendDecodedTrimmed(text, {nullptr, {}}, measured.builder());
    ASSERT_GT(measured.calls(), 1u);
    for (uint32_t failAt = 1; failAt <= measured.calls(); ++failAt) {
        HeapText out(failAt);
        appendDecodedTrimmed(text, {nullptr, {}}, out.builder());
        EXPECT_TRUE(out.builder().failed()) << failAt;
        EXPECT_EQ(out.liveBlocks(), out.buffer().data != nullptr ? 1 : 0) << failAt;
    }
}

}  // namespace
