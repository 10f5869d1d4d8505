#include "tool/terminal/problem.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(Tally, TellsPartialSuccess) {
    Tally none;
    EXPECT_EQ(none.exitCode(), ExitCode::Done);
    Tally tally;
    tally.failed(ExitCode::Input);
    tally.failed(ExitCode::Output);
    EXPECT_EQ(tally.exitCode(), ExitCode::Input);
    tally.succeeded();
    EXPECT_EQ(tally.exitCode(), ExitCode::InPart);
    Tally good;
    good.succeeded();
    EXPECT_EQ(good.exitCode(), ExitCode::Done);
}

}  // namespace
}  // namespace emltool
