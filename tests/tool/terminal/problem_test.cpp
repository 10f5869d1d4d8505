#include "tool/terminal/problem.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(Tally, TellsPartialSuccess) {
    Tally none;
    EXPECT_EQ(none.exitCode(), ExitCode::kDone);
    Tally tally;
    tally.failed(ExitCode::kInput);
    tally.failed(ExitCode::kOutput);
    EXPECT_EQ(tally.exitCode(), ExitCode::kInput);
    tally.succeeded();
    EXPECT_EQ(tally.exitCode(), ExitCode::kInPart);
    Tally good;
    good.succeeded();
    EXPECT_EQ(good.exitCode(), ExitCode::kDone);
}

}  // namespace
}  // namespace emltool
