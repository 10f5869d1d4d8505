#include "mime/uuencode.h"

#include <gtest/gtest.h>

#include "bytes/decoder_runs.h"
#include "exhaustive/every_input.h"
#include "support/kernel_sets.h"

namespace {

using namespace decoder_runs;
using eml::DecodeProblems;
using eml::UuencodeDecoder;
using reference::bytesOf;
using reference::shown;

struct Row {
    const char* rule;
    std::string input;
    std::string output;
    uint64_t lines = 0;  // that are none of uuencode, and where the first begins
    uint64_t first = 0;
    bool cutOff = false;
};

const Row kRows[] = {
    {"a file", "begin 644 cat.txt\r\n#0V%T\r\n`\r\nend\r\n", "Cat"},
    {"LF", "begin 644 cat.txt\n#0V%T\n`\nend\n", "Cat"},
    {"CR", "begin 644 cat.txt\r#0V%T\r`\rend\r", "Cat"},
    {"a blank for nothing", "begin 644 x\n#0V%T\n \nend\n", "Cat"},
    {"the blank was stripped", "begin 644 x\n#0V%T\n\nend\n", "Cat"},
    {"no line of length 0", "begin 644 x\n#0V%T\nend\n", "Cat"},
    {"two bytes in whole groups", "begin 644 x\n\"0V$ \n`\nend\n", "Ca"},
    {"two bytes, the rest stripped", "begin 644 x\n\"0V$\n`\nend\n", "Ca"},
    {"one byte, the rest stripped", "begin 644 x\n!0P\n`\nend\n", "C"},
    {"blanks and backquotes are the same", "begin 644 x\n&````    \nend\n", std::string(6, '\0')},
    {"stripped blanks are filled up", "begin 644 x\n&\n`\nend\n", std::string(6, '\0'), 1, 12},
    {"a stripped full line", "begin 644 x\nM\n`\nend\n", std::string(45, '\0'), 1, 12},
    {"a checksum character", "begin 644 x\n#0V%TZ\n`\nend\n", "Cat"},
    {"blanks that fill up the line", "begin 644 x\n#0V%T     \n`\nend\n", "Cat"},
    {"too long a line", "begin 644 x\n#0V%TABC\n`\nend\n", "Cat", 1, 12},
    {"blank lines", "begin 644 x\n\n#0V%T\n\n\n#0V%T\n`\nend\n", "CatCat"},
    {"the end is missing", "begin 644 x\n#0V%T\n", "Cat", 0, 0, true},
    {"no line end at the end", "begin 644 x\n#0V%T", "Cat", 0, 0, true},
    {"cut off in a group", "begin 644 x\n#0V", std::string("Ca\0", 3).replace(1, 1, 1, '`'), 1, 12, true},
    {"end with blanks", "begin 644 x\n#0V%T\n`\nend  \n", "Cat"},
    {"text before it", "Hello\n\nbegin 644 x\n#0V%T\n`\nend\n", "Cat", 1, 0},
    {"text after it", "begin 644 x\n#0V%T\n`\nend\n\nBye\nbye\n", "Cat", 2, 25},
    {"a line of text inside", "begin 644 x\n#0V%T\nhello\n#0V%T\n`\nend\n", "CatCat", 1, 18},
    {"an 8-bit line inside", "begin 644 x\n#0V%T\n\xE4\xE4\n#0V%T\n`\nend\n", "CatCat", 1, 18},
    {"a line that is far too long", "begin 644 x\n#0V%T\nM" + std::string(5000, 'A') + "\n#0V%T\n`\nend\n",
     "CatCat", 1, 18},
    {"a mode of four digits", "begin 0644 x\n#0V%T\nend\n", "Cat"},
    {"no name", "begin 644\n#0V%T\nend\n", "Cat"},
    {"a first line is none in the data", "begin 644 x\n#0V%T\nbegin 644 y\n#0V%T\nend\n", "CatCat", 1, 18},
};

TEST(Uuencode, Rows) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        const Bytes input = bytesOf(row.input);
        const std::vector<Feeding> feedings = allFeedings(std::min<size_t>(input.size(), 80));
        for (const eml::DecodeKernels* const kernels : eml::test::kernelSets()) {
            for (size_t i = 0; i < feedings.size(); i += 7) {
                DecodeProblems problems{};
                const Bytes output = decode(UuencodeDecoder(*kernels, problems, false), input, feedings[i]);
                ASSERT_EQ(shown(output), shown(bytesOf(row.output)));
                ASSERT_EQ(problems.uuencodeLine.count, row.lines);
                ASSERT_EQ(problems.uuencodeLine.first, row.first);
                ASSERT_EQ(problems.cutOff.count, row.cutOff ? 1U : 0U);
            }
        }
    }
}

TEST(Uuencode, WithoutAFirstLineNothingHasBegun) {
    DecodeProblems problems{};
    UuencodeDecoder decoder(eml::kPlainKernels, problems, false);
    RoomSink sink(64, kNoLimit);
    const Bytes input = bytesOf("#0V%T\n`\nend\n");
    feedPiece(decoder, input, 0, input.size(), sink);
    decoder.finish(sink);
    EXPECT_FALSE(decoder.begun());
    EXPECT_EQ(sink.taken().size(), 0U);
    problems = DecodeProblems{};
    EXPECT_EQ(decode(UuencodeDecoder(eml::kPlainKernels, problems, true), input, inOnePiece()),
              bytesOf("Cat"));
    EXPECT_EQ(problems.cutOff.count, 0U);
}

// As POSIX writes it.
std::string encoded(const Bytes& bytes, char zero) {
    const auto character = [zero](uint32_t value) {
        return value == 0 ? zero : static_cast<char>(' ' + static_cast<char>(value));
    };
    std::string text = "begin 644 x\n";
    for (size_t from = 0; from < bytes.size(); from += 45) {
        const size_t count = std::min<size_t>(45, bytes.size() - from);
        text += character(static_cast<uint32_t>(count));
        for (size_t i = from; i < from + count; i += 3) {
            uint32_t group = 0;
            for (size_t j = i; j < i + 3; ++j) group = group << 8 | (j < from + count ? bytes[j] : 0U);
            for (int shift = 18; shift >= 0; shift -= 6) text += character(group >> shift & 63);
        }
        text += '\n';
    }
    return text + character(0) + "\nend\n";
}

TEST(Uuencode, WhatIsEncodedComesBack) {
    Random random(11);
    for (size_t size = 0; size < 200; ++size) {
        Bytes bytes(size);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.below(256));
        for (const char zero : {' ', '`'}) {
            DecodeProblems problems{};
            ASSERT_EQ(decode(UuencodeDecoder(eml::kPlainKernels, problems, false),
                             bytesOf(encoded(bytes, zero)), Feeding{1 + size % 7, 64, 9}),
                      bytes);
            ASSERT_EQ(problems.uuencodeLine.count, 0U);
            ASSERT_EQ(problems.cutOff.count, 0U);
        }
    }
}

TEST(Uuencode, AnyCutGivesTheSame) {
    eml::test::Compared compared;
    eml::test::forEveryText({"begin 644 x\n", "#0V%T", "\n", "end", " ", "M", "z"}, eml::test::longest(3, 6),
                            [&](const std::string& text) {
                                compared.input();
                                const Bytes input = bytesOf(text);
                                DecodeProblems whole{};
                                const Bytes expected = decode(
                                    UuencodeDecoder(eml::kPlainKernels, whole, false), input, inOnePiece());
                                for (const size_t piece : {1U, 2U, 3U, 7U}) {
                                    compared.comparison();
                                    DecodeProblems cut{};
                                    if (decode(UuencodeDecoder(eml::kPlainKernels, cut, false), input,
                                               {piece, piece, 1}) != expected ||
                                        cut.uuencodeLine.count != whole.uuencodeLine.count ||
                                        cut.uuencodeLine.first != whole.uuencodeLine.first) {
                                        ADD_FAILURE() << shown(input);
                                        return false;
                                    }
                                }
                                return true;
                            });
}

}  // namespace
