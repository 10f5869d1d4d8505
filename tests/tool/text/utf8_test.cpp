#include "tool/text/utf8.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace emltool
