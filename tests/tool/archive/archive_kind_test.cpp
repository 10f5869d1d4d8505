#include "tool/archive/archive_kind.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace emltool {
namespace {

// The first block of a tar, whose sum is `more` too large.
std::string tarBlock(const std::string& name, unsigned more = 0) {
    std::string block(512, '\0');
    block.replace(0, name.size(), name);
    block.replace(124, 11, "00000000000");
    block.replace(148, 8, "        ");
    unsigned sum = more;
    for (const char c : block) sum += static_cast<unsigned char>(c);
    char digits[9];
    std::snprintf(digits, sizeof digits, "%06o", sum);
    block.replace(148, 7, std::string(digits, 7));
    return block;
}

// A zip up to the name of its first member.
std::string zipBeginning(const std::string& name) {
    std::string beginning("PK\x03\x04", 4);
    beginning.resize(26);
    beginning += static_cast<char>(name.size());
    beginning += '\0';
    beginning.append(2, '\0');
    return beginning + name + "content";
}

TEST(ArchiveKind, IsToldByTheFirstBytes) {
    struct Row {
        const char* what;
        std::string beginning;
        bool isArchive;
    };
    const std::vector<Row> rows = {
        {"gzip", "\x1F\x8B\x08 more", true},
        {"gzip with another method", "\x1F\x8B\x07 more", false},
        {"bzip2", "BZh91AY&SY", true},
        {"bzip2 without content", "BZh9\x17\x72\x45\x38\x50\x90", true},
        {"a word", "BZh9 is what I call it", false},
        {"a short word", "BZh", false},
        {"xz",
         std::string("\xFD"
                     "7zXZ\0",
                     6),
         true},
        {"Zstandard", "\x28\xB5\x2F\xFD", true},
        {"zip", "PK\x03\x04", true},
        {"zip with a message", zipBeginning("cur/1.eml"), true},
        {"zip with a folder of a mail program", zipBeginning("words/1.eml"), true},
        {"a text document", zipBeginning("mimetype"), false},
        {"an office document", zipBeginning("[Content_Types].xml"), false},
        {"one that another program wrote", zipBeginning("word/document.xml"), false},
        {"a program", zipBeginning("META-INF/MANIFEST.MF"), false},
        {"a name that is cut off", zipBeginning("mimetype").substr(0, 29), true},
        {"zip without members", "PK\x05\x06", true},
        {"two letters", "PK: 1\n", false},
        {"tar", tarBlock("a.eml"), true},
        {"a block with a wrong sum", tarBlock("a.eml", 1), false},
        {"a block that is cut off", tarBlock("a.eml").substr(0, 511), false},
        {"zeros", std::string(512, '\0'), false},
        {"a message", "Subject: x\n\n" + std::string(600, 'x'), false},
        {"nothing", "", false},
    };
    for (const Row& row : rows) EXPECT_EQ(beginsArchive(row.beginning), row.isArchive) << row.what;
}

}  // namespace
}  // namespace emltool
