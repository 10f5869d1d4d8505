#include "tool/cli/choices.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/cli/global_options.h"
#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

namespace emltool {
namespace {

constexpr std::array<std::string_view, 3> kWords = {"red", "green", "blue"};
constexpr Choices kChoices{"paint", "colour", kWords};

TEST(Choices, AreListedForPeople) {
    EXPECT_EQ(kChoices.list(), "red, green or blue");
    EXPECT_EQ((Choices{"x", "y", std::span(kWords).first(2)}.list()), "red or green");
}

TEST(Choices, AreFoundByTheWholeWord) {
    for (size_t i = 0; i < kWords.size(); ++i) EXPECT_EQ(kChoices.parse(kWords[i]), i);
    for (const char* bad : {"", "re", "reds", "RED", "red green"}) {
        EXPECT_EQ(kChoices.find(bad), std::nullopt) << bad;
        EXPECT_THROW(kChoices.parse(bad), Problem) << bad;
    }
}

TEST(Choices, ErrorNamesOptionAndWords) {
    try {
        kChoices.parse("black");
        FAIL();
    } catch (const Problem& problem) {
        EXPECT_EQ(problem.exit, ExitCode::kUsage);
        EXPECT_EQ(problem.text, "--paint=black: no such colour; it is red, green or blue");
    }
}

TEST(Choices, OfColorAreInTheOrderOfColorChoice) {
    EXPECT_EQ(static_cast<ColorChoice>(kColorChoices.parse("auto")), ColorChoice::kAuto);
    EXPECT_EQ(static_cast<ColorChoice>(kColorChoices.parse("always")), ColorChoice::kAlways);
    EXPECT_EQ(static_cast<ColorChoice>(kColorChoices.parse("never")), ColorChoice::kNever);
}

}  // namespace
}  // namespace emltool
