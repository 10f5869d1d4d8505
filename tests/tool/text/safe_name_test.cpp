#include "tool/text/safe_name.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tool/text/utf8.h"

namespace emltool {
namespace {

struct NameCase {
    const char* rule;
    std::string name;
    std::string safe;
};

TEST(SafeName, FollowsItsRules) {
    const NameCase cases[] = {
        {"a plain name stays", "report.pdf", "report.pdf"},
        {"blanks inside stay", "inner message.eml", "inner message.eml"},
        {"characters of any script stay", "日本語 – ünï.txt", "日本語 – ünï.txt"},
        {"the last component after /", "../../etc/passwd", "passwd"},
        {"an absolute path", "/etc/shadow", "shadow"},
        {"the last component after \\", "C:\\temp\\evil.exe", "evil.exe"},
        {"both kinds of separator", "a\\b/c\\d.txt", "d.txt"},
        {"nothing after the last separator", "folder/", "part-7"},
        {"control characters are dropped", std::string("a\x1b[31mb\r\n\x7f.txt"), "a[31mb.txt"},
        {"a zero byte is dropped", std::string("a\0b", 3), "ab"},
        {"C1 control characters are dropped",
         "a\xC2\x9B"
         "b.txt",
         "ab.txt"},
        {"line and paragraph separators are dropped", "a\u2028b\u2029.txt", "ab.txt"},
        {"direction overrides are dropped", "photo\u202Egpj.exe", "photogpj.exe"},
        {"isolates and marks are dropped", "\u2066a\u2069\u200E\u200F\u061C.txt", "a.txt"},
        {"dots in front are trimmed", "...hidden", "hidden"},
        {"dots and blanks after are trimmed", "name.txt . .", "name.txt"},
        {"blanks around are trimmed", "  a b  ", "a b"},
        {"empty", "", "part-7"},
        {"one dot", ".", "part-7"},
        {"two dots", "..", "part-7"},
        {"blanks and dots only", " . . ", "part-7"},
        {"control characters only", "\x01\x02", "part-7"},
        {"parent folder as last component", "a/..", "part-7"},
        {"what becomes visible only after dropped characters", "\u202E..\u202E", "part-7"},
        {"bytes that are no UTF-8 are dropped", "a\xFF\xC3.txt", "a.txt"},
    };
    for (const NameCase& c : cases) EXPECT_EQ(safeName(c.name, "7"), c.safe) << c.rule;
}

TEST(SafeName, HasAtMost255BytesAndKeepsItsExtension) {
    std::string cut = safeName(std::string(300, 'a') + ".pdf", "1");
    EXPECT_EQ(cut, std::string(251, 'a') + ".pdf");
    EXPECT_EQ(safeName(std::string(255, 'a'), "1"), std::string(255, 'a'));
    EXPECT_EQ(safeName(std::string(256, 'a'), "1"), std::string(255, 'a'));
    // What follows the dot is too long for an extension.
    EXPECT_EQ(safeName("a." + std::string(300, 'b'), "1"), "a." + std::string(253, 'b'));
}

TEST(SafeName, IsCutBetweenCharacters) {
    // At each offset of a character of 2, 3 and 4 bytes.
    for (const std::string character : {"ü", "日", "😀"}) {
        for (size_t shift = 0; shift < 4; ++shift) {
            std::string name(shift, 'x');
            while (name.size() < 400) name += character;
            std::string cut = safeName(name + ".txt", "1");
            EXPECT_LE(cut.size(), kMaxNameLength);
            EXPECT_GT(cut.size(), kMaxNameLength - 4);
            EXPECT_TRUE(isUtf8(cut)) << cut;
            EXPECT_TRUE(cut.ends_with(".txt"));
        }
    }
}

TEST(SafeName, LeavesNoBlankOrDotBeforeACutExtension) {
    std::string cut = safeName(std::string(250, 'a') + " . " + std::string(50, 'b') + ".txt", "1");
    EXPECT_EQ(cut, std::string(250, 'a') + ".txt");
}

TEST(NumberedName, StandsBeforeTheExtension) {
    EXPECT_EQ(numberedName("report.pdf", 2), "report (2).pdf");
    EXPECT_EQ(numberedName("README", 3), "README (3)");
    EXPECT_EQ(numberedName("a.tar.gz", 2), "a.tar (2).gz");
    std::string longest = std::string(251, 'a') + ".pdf";
    EXPECT_EQ(numberedName(longest, 12), std::string(246, 'a') + " (12).pdf");
}

TEST(NameSet, GivesEachNameOnce) {
    NameSet names;
    EXPECT_EQ(names.take("a.txt"), "a.txt");
    EXPECT_EQ(names.take("a.txt"), "a (2).txt");
    EXPECT_EQ(names.take("a (3).txt"), "a (3).txt");
    EXPECT_EQ(names.take("a.txt"), "a (4).txt");
    EXPECT_EQ(names.take("b.txt"), "b.txt");
    EXPECT_EQ(names.take("a (2).txt"), "a (2) (2).txt");
}

TEST(NameSet, GivesLongNamesOnce) {
    NameSet names;
    std::string first = names.take(safeName(std::string(300, 'a'), "1"));
    std::string second = names.take(safeName(std::string(300, 'a'), "2"));
    EXPECT_NE(first, second);
    EXPECT_LE(second.size(), kMaxNameLength);
}

// What the set should give: the name, or the first free number. It looks at all of them, each time.
std::string takeSlowly(std::set<std::string>& taken, const std::string& name) {
    std::string candidate = name;
    for (unsigned number = 2; !taken.insert(candidate).second; ++number)
        candidate = numberedName(name, number);
    return candidate;
}

// Different names whose numbered forms are the same.
std::vector<std::string> namesOfOneStem(size_t count) {
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i) {
        names.push_back("a" + std::string(i % 40, '.') + std::string(i / 40, ' ') + ".txt");
        names.push_back(std::string(kMaxNameLength - 4 - i % 3, 'b') + ".txt");
        names.push_back(std::string(kMaxNameLength - 3, 'c') + std::to_string(100 + i % 900));
        names.push_back("d (" + std::to_string(i % 9) + ").x (" + std::to_string(i % 7) + ")");
    }
    return names;
}

TEST(NameSet, GivesTheFirstFreeNumber) {
    NameSet names;
    std::set<std::string> taken;
    for (int round = 0; round < 3; ++round) {
        for (const std::string& name : namesOfOneStem(120)) {
            ASSERT_EQ(names.take(name), takeSlowly(taken, name)) << name;
        }
    }
}

TEST(NameSet, TriesAHandfulOfNamesForEach) {
    NameSet names;
    size_t count = 0;
    for (int round = 0; round < 4; ++round) {
        for (const std::string& name : namesOfOneStem(2000)) {
            names.take(name);
            ++count;
        }
    }
    EXPECT_LE(names.tries(), 4 * count);
}

}  // namespace
}  // namespace emltool
