#include "tool/text/ascii.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(Ascii, OnlyItsLettersHaveALowerCase) {
    for (int value = -128; value < 256; ++value) {
        const char c = static_cast<char>(value);
        const bool isCapital = value >= 'A' && value <= 'Z';
        EXPECT_EQ(lower(c), isCapital ? static_cast<char>(value + 32) : c) << value;
    }
    EXPECT_EQ(lowerCase("Content-TYPE: \xC3\x84@[`{"), "content-type: \xC3\x84@[`{");
}

TEST(Ascii, PrefixesMatchInAnyCase) {
    EXPECT_TRUE(startsWithNoCase("MultiPart/mixed", "multipart/"));
    EXPECT_TRUE(startsWithNoCase("x", ""));
    EXPECT_TRUE(startsWithNoCase("", ""));
    EXPECT_FALSE(startsWithNoCase("multipart", "multipart/"));
    EXPECT_FALSE(startsWithNoCase("xmultipart/", "multipart/"));
    EXPECT_FALSE(startsWithNoCase("", "a"));
}

}  // namespace
}  // namespace emltool
