#include "tool/message/sub_file_path.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(SubFilePath, IsWrittenWithDots) {
    EXPECT_EQ(parseSubFilePath("3"), SubFilePath({3}));
    EXPECT_EQ(parseSubFilePath("3.1.12"), SubFilePath({3, 1, 12}));
    for (const char* bad :
         {"", ".", "3.", ".3", "3..1", "-1", "3.-1", "x", "3x", " 3", "99999999999", "3,1"}) {
        EXPECT_FALSE(parseSubFilePath(bad)) << bad;
    }
    EXPECT_EQ(dotted({3, 1, 12}), "3.1.12");
}

}  // namespace
}  // namespace emltool
