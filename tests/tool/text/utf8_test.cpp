#include "tool/text/utf8.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "tool/message/json_text.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {
namespace {

struct Row {
    const char* what;
    std::string_view text;
    bool isValid;
};

constexpr Row kRows[] = {
    {"nothing", "", true},
    {"letters", "abc", true},
    {"characters of one to four bytes", "a\xC3\xA9\xE2\x98\xAF\xF0\x9F\x98\x80z", true},
    {"a cut character at the end", "a\xF0\x9F\x98", false},
    {"a cut character before a letter", "\xE2\x98 a", false},
    {"a byte that continues nothing", "a\x80", false},
    {"four bytes that continue one", "\xC3\xA9\xA9\xA9\xA9", false},
    {"a longer form than needed", "\xC0\x80", false},
    {"half of a surrogate pair", "\xED\xA0\x80", false},
    {"beyond U+10FFFF", "\xF4\x90\x80\x80", false},
    {"a byte that is in no character", "a\xFF", false},
};

TEST(Utf8, IsToldAsAWhole) {
    for (const Row& row : kRows) EXPECT_EQ(isUtf8(row.text), row.isValid) << row.what;
}

TEST(Utf8, IsToldWhereverTheTextIsCut) {
    for (const Row& row : kRows) {
        for (size_t first = 0; first <= row.text.size(); ++first) {
            for (size_t second = first; second <= row.text.size(); ++second) {
                Utf8Check check;
                check.feed(row.text.substr(0, first));
                check.feed(row.text.substr(first, second - first));
                check.feed(row.text.substr(second));
                EXPECT_EQ(check.isValid(), row.isValid)
                    << row.what << ", cut at " << first << " and " << second;
            }
        }
    }
}

TEST(Utf8, EndOfAsciiIsFoundAtEveryPlace) {
    constexpr size_t kLongest = 20;
    for (size_t length = 1; length <= kLongest; ++length) {
        for (size_t place = 0; place < length; ++place) {
            for (int value = 0; value < 256; ++value) {
                std::string text(length, '~');
                text[place] = static_cast<char>(value);
                const bool isPrintable = value >= ' ' && value < 0x7F;
                for (size_t from : {size_t{0}, place, length}) {
                    const bool isAhead = from <= place;
                    ASSERT_EQ(asciiEnd(text, from), isAhead && value >= 0x80 ? place : length)
                        << value << " at " << place;
                    ASSERT_EQ(printableAsciiEnd(text, from), isAhead && !isPrintable ? place : length)
                        << value << " at " << place;
                }
            }
        }
    }
    EXPECT_EQ(asciiEnd("", 0), 0U);
    EXPECT_EQ(printableAsciiEnd("", 0), 0U);
}

// Text in which all kinds of characters, cut ones and others follow each other.
std::string mixture(uint32_t seed) {
    constexpr std::string_view kPieces[] = {"plain text ", "\xC3\xA9",     "\xE2\x98\xAF", "\xF0\x9F\x98\x80",
                                            "\xC3",        "\xED\xA0\x80", "\xFF",         "\x1B",
                                            "\x7F",        "\xC2\x9B",     "\xE2\x80\xAE", "\n",
                                            "x",           "\xE2\x80\xA8"};
    std::string text;
    for (int i = 0; i < 40; ++i) {
        seed = seed * 1664525U + 1013904223U;
        text += kPieces[(seed >> 16) % std::size(kPieces)];
    }
    return text;
}

TEST(Utf8, InvalidBytesAreReplacedOneByOne) {
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        const std::string text = mixture(seed);
        std::string expected;
        for (size_t position = 0; position < text.size();) {
            const char32_t character = nextCharacter(text, position);
            appendUtf8(expected, character == kNoCharacter ? U'\uFFFD' : character);
        }
        ASSERT_EQ(withoutInvalidBytes(text), expected) << seed;
        ASSERT_EQ(isUtf8(text), expected == text) << seed;
    }
}

TEST(Utf8, ControlsInJsonAreEscapedAndAllElseStays) {
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        const std::string text = mixture(seed);
        std::string expected;
        for (size_t position = 0; position < text.size();) {
            const size_t start = position;
            const char32_t character = nextCharacter(text, position);
            if (isControl(character) || isDirectionOverride(character)) {
                expected += formatted("\\u{:04x}", static_cast<uint32_t>(character));
            } else {
                expected.append(text, start, position - start);
            }
        }
        ASSERT_EQ(withVisibleControls(text), expected) << seed;
    }
}

}  // namespace
}  // namespace emltool
