#include "mime/inline_files.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct NameRow {
    const char* line;
    const char* name;
};

TEST(InlineFiles, NamesOfUuencodedFiles) {
    const NameRow rows[] = {
        {"begin 644 cat.txt", "cat.txt"},
        {"begin 0644 cat.txt", "cat.txt"},
        {"begin 666 two words.txt", "two words.txt"},
        {"begin 644  cat.txt  ", "cat.txt"},
        {"begin  644 cat.txt", "cat.txt"},
        {"begin 644\tcat.txt", "cat.txt"},
        {"begin 644 ../../etc/passwd", "../../etc/passwd"},
        {"begin 644", ""},
        {"begin 644 ", ""},
        {"begin 64 x", ""},
        {"begin 64400 x", ""},
        {"begin 648 x", ""},
        {"begin 644x", ""},
        {"begin the day", ""},
        {"Begin 644 x", ""},
        {" begin 644 x", ""},
        {"begin-base64 644 x", ""},
        {"begin", ""},
        {"begin ", ""},
        {"", ""},
    };
    for (const NameRow& row : rows) EXPECT_EQ(eml::uuencodeName(row.line), row.name) << row.line;
}

TEST(InlineFiles, NamesOfYencFiles) {
    const NameRow rows[] = {
        {"=ybegin line=128 size=123456 name=mybinary.dat", "mybinary.dat"},
        {"=ybegin part=1 total=10 line=128 size=500000 name=my binary.dat", "my binary.dat"},
        {"=ybegin line=128 size=1 name=a name=b", "a name=b"},
        {"=ybegin line=128 size=1 name= x ", "x"},
        {"=ybegin name=x", "x"},
        {"=ybegin line=128 size=1", ""},
        {"=ybegin", ""},
        {"=yend name=x", ""},
        {"", ""},
    };
    for (const NameRow& row : rows) EXPECT_EQ(eml::yencName(row.line), row.name) << row.line;
}

struct LineRow {
    std::string line;
    bool is;
};

TEST(InlineFiles, LinesOfUuencodedData) {
    const LineRow rows[] = {
        {"#0V%T", true},
        {"#0V%TZ", true},       // a checksum
        {"#0V%T    ", true},    // filled up
        {"#0V%T     ", false},  // too far
        {"!0P", true},          // one byte, blanks stripped
        {"!0", true},           // more of them
        {"!", false},           // all
        {"M" + std::string(60, 'A'), true},
        {"M" + std::string(61, 'A'), true},
        {"M" + std::string(65, 'A'), false},
        {"M" + std::string(59, 'A'), true},
        {"M", true},  // a full line of zeros that were blanks
        {"H", false},
        {"HELLO", false},  // far too short for "H"
        {"hello", false},
        {"#0v%T", false},  // lower case
        {"#0\xE4%T", false},
        {"`", true},
        {" ", true},
        {"``", false},
        {"", false},
    };
    for (const LineRow& row : rows) EXPECT_EQ(eml::isUuencodeData(row.line), row.is) << row.line;
}

TEST(InlineFiles, LastLines) {
    const LineRow uuencode[] = {{"end", true},   {"end ", true},    {"end\t", true}, {"End", false},
                                {" end", false}, {"ending", false}, {"", false}};
    for (const LineRow& row : uuencode) EXPECT_EQ(eml::isUuencodeEnd(row.line), row.is) << row.line;
    const LineRow yenc[] = {
        {"=yend", true}, {"=yend size=3", true}, {"=yending", false}, {"yend", false}, {"", false}};
    for (const LineRow& row : yenc) EXPECT_EQ(eml::isYencEnd(row.line), row.is) << row.line;
}

}  // namespace
