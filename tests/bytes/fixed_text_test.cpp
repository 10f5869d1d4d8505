#include "bytes/fixed_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

using eml::FixedText;

TEST(FixedText, WhatDoesNotFitIsCutAndAZeroEndsIt) {
    FixedText<8> text;
    EXPECT_STREQ(text.zeroTerminated(), "");
    text.append("abc").append("").append("defghij").append("k");
    EXPECT_EQ(text.view(), "abcdefg");
    EXPECT_EQ(std::strlen(text.zeroTerminated()), 7u);
    text.clear();
    EXPECT_EQ(text.view(), "");
    EXPECT_STREQ(text.zeroTerminated(), "");
    text.append("xy");
    EXPECT_STREQ(text.zeroTerminated(), "xy") << "nothing of the old text is left";
}

TEST(FixedText, ASizeOfOneHoldsNothing) {
    FixedText<1> text;
    text.append("abc").appendDecimal(7);
    EXPECT_STREQ(text.zeroTerminated(), "");
}

TEST(FixedText, ZeroBytesCount) {
    FixedText<8> text;
    text.append(std::string_view("a\0b", 3));
    EXPECT_EQ(text.view(), std::string_view("a\0b", 3));
}

TEST(FixedText, NumbersReadAsPrintfWritesThem) {
    for (const int64_t value :
         {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{9}, int64_t{10}, int64_t{1252}, int64_t{-2147483648LL},
          std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()}) {
        FixedText<32> decimal, hex;
        EXPECT_EQ(decimal.appendDecimal(value).view(), std::to_string(value));
        char expected[32];
        std::snprintf(expected, sizeof expected, "%llX", static_cast<unsigned long long>(value));
        EXPECT_EQ(hex.appendHex(static_cast<uint64_t>(value)).view(), expected);
    }
    FixedText<4> cut;
    EXPECT_EQ(cut.appendDecimal(-12345).view(), "-12");
}

}  // namespace
