#include "tool/message/opening_limits.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

using Warnings = std::vector<Warning>;

TEST(OpeningLimits, EndAtTheGreatestDepth) {
    OpeningLimits limits(1000);
    Warnings warnings;
    EXPECT_TRUE(limits.mayOpen(SubFilePath(kMaxDepth, 1), 1, warnings));
    EXPECT_EQ(warnings, Warnings{});
    EXPECT_FALSE(limits.mayOpen(SubFilePath(kMaxDepth + 1, 1), 1, warnings));
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_NE(warnings[0].text.find("more than 32 messages inside each other"), std::string::npos)
        << warnings[0].text;
}

TEST(OpeningLimits, AllowThirtyTwoTimesTheBytesOfTheMessage) {
    OpeningLimits limits(10);
    Warnings warnings;
    EXPECT_FALSE(limits.mayOpen({1}, 321, warnings));
    EXPECT_EQ(warnings,
              (Warnings{{"overlapping-parts", "sub-file 1: not opened, its parts overlap too often"}}));
    EXPECT_TRUE(limits.mayOpen({1}, 200, warnings)) << "what was refused is not counted";
    EXPECT_FALSE(limits.mayOpen({2}, 121, warnings));
    EXPECT_TRUE(limits.mayOpen({2}, 120, warnings));
    EXPECT_TRUE(limits.mayOpen({3}, 0, warnings));
    EXPECT_FALSE(limits.mayOpen({3}, 1, warnings));
}

}  // namespace
}  // namespace emltool
