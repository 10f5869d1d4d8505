#include "tool/text/suggestion.h"

#include <gtest/gtest.h>

#include <vector>

#include "standalone/temporary_folder.h"

namespace emltool {
namespace {

TEST(TypingErrors, AreCounted) {
    struct {
        const char* a;
        const char* b;
        size_t errors;
    } const cases[] = {
        {"", "", 0},         {"", "abc", 3},           {"abc", "abc", 0},
        {"ABC", "abc", 0},   {"abc", "abd", 1},        {"abc", "abcd", 1},
        {"abcd", "abc", 1},  {"abc", "acb", 1},        {"--jsn", "--json", 1},
        {"lsit", "list", 1}, {"kitten", "sitting", 3},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(typingErrors(c.a, c.b), c.errors) << c.a << " " << c.b;
        EXPECT_EQ(typingErrors(c.b, c.a), c.errors) << c.b << " " << c.a;
    }
}

TEST(Closest, IsTheNearestCandidateWithinReason) {
    const std::vector<std::string> words = {"list", "extract", "version"};
    EXPECT_EQ(closest("lst", words), "list");
    EXPECT_EQ(closest("extrat", words), "extract");
    EXPECT_EQ(closest("EXTRACT", words), "extract");
    EXPECT_EQ(closest("banana", words), "");
    EXPECT_EQ(closest("", words), "");
    EXPECT_EQ(closest(std::string(1000, 'a'), words), "");
    EXPECT_EQ(closest("ac", std::vector<std::string>{"ad", "ab"}), "ab");
}

TEST(ClosestFile, LooksIntoTheFolderOfThePath) {
    emlhost_test::TemporaryFolder folder;
    folder.write("sample.eml", "x");
    EXPECT_EQ(closestFile(folder.pathOf("sample.em")), folder.pathOf("sample.eml"));
    EXPECT_EQ(closestFile(folder.pathOf("other.txt")), "");
    folder.write("big.eml", "x");
    EXPECT_EQ(closestFile(folder.pathOf("nix.eml")), "") << "the extension makes up for no error in the name";
    EXPECT_EQ(closestFile(folder.pathOf("bix.eml")), folder.pathOf("big.eml"));
    EXPECT_EQ(closestFile(folder.pathOf("no-such-folder/sample.em")), "");
    EXPECT_EQ(closestFile(""), "");
}

}  // namespace
}  // namespace emltool
