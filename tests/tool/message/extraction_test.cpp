#include "tool/message/extraction.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

TEST(Selection, WithoutChoiceIsAll) {
    Selection flat({}, false);
    EXPECT_TRUE(flat.wants({1}));
    EXPECT_FALSE(flat.reachesInto({1}));
    Selection deep({}, true);
    EXPECT_TRUE(deep.wants({1, 2, 3}));
    EXPECT_TRUE(deep.reachesInto({1, 2}));
}

TEST(Selection, WantsWhatIsChosen) {
    Selection selection({"2", "3.1", "9"}, false);
    EXPECT_FALSE(selection.wants({1}));
    EXPECT_TRUE(selection.wants({2}));
    EXPECT_FALSE(selection.wants({3}));
    EXPECT_TRUE(selection.reachesInto({3}));
    EXPECT_FALSE(selection.reachesInto({2}));
    EXPECT_TRUE(selection.wants({3, 1}));
    EXPECT_FALSE(selection.wants({3, 2}));
    EXPECT_EQ(selection.notFound(), std::vector<std::string>({"9"}));
}

TEST(Selection, RecursiveTakesWhatIsInsideAChoice) {
    Selection selection({"3"}, true);
    EXPECT_TRUE(selection.reachesInto({3}));
    EXPECT_TRUE(selection.wants({3, 1}));
    EXPECT_FALSE(selection.wants({2, 1}));
    EXPECT_FALSE(selection.reachesInto({2}));
}

TEST(Selection, RefusesWhatIsNoAttachment) {
    for (const char* bad : {"x", "", "0", "3.0"}) {
        try {
            Selection selection({bad}, false);
            FAIL() << bad;
        } catch (const Problem& problem) {
            EXPECT_EQ(problem.exit, ExitCode::kUsage) << bad;
        }
    }
}

}  // namespace
}  // namespace emltool
