#include "tool/loading/shared_library.h"

#include <gtest/gtest.h>

#include <cmath>

namespace emltool {
namespace {

TEST(SharedLibrary, GivesFunctionsThatAreThere) {
    double (*root)(double) = nullptr;
    double (*none)(double) = nullptr;
    SharedLibrary library("libm.so.6");
    EXPECT_TRUE(library.get(root, "sqrt").isComplete());
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root(9.0), 3.0);
    EXPECT_FALSE(library.get(none, "no_such_function").isComplete());
    EXPECT_EQ(none, nullptr);
}

TEST(SharedLibrary, IsIncompleteWhenItIsMissing) {
    void (*function)() = nullptr;
    SharedLibrary library("libno-such-library.so.0");
    EXPECT_FALSE(library.isComplete());
    EXPECT_FALSE(library.get(function, "function").isComplete());
    EXPECT_EQ(function, nullptr);
}

}  // namespace
}  // namespace emltool
