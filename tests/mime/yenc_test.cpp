#include "mime/yenc.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "bytes/decoder_runs.h"
#include "support/kernel_sets.h"

namespace {

using namespace decoder_runs;
using eml::DecodeProblems;
using eml::YencDecoder;
using reference::bytesOf;
using reference::shown;

// A line of yEnc of at most `lineLength` characters, and one more when it ends in an escape.
std::string encodedLines(const Bytes& bytes, size_t lineLength, bool stuffed) {
    std::string text;
    std::string line;
    const auto endLine = [&] {
        text += (stuffed && line[0] == '.' ? "." : "") + line + "\r\n";
        line.clear();
    };
    for (const uint8_t byte : bytes) {
        const auto shifted = static_cast<uint8_t>(byte + 42);
        const bool critical = shifted == 0 || shifted == '\n' || shifted == '\r' || shifted == '=';
        if (critical) line += '=';
        line += static_cast<char>(critical ? static_cast<uint8_t>(shifted + 64) : shifted);
        if (line.size() >= lineLength) endLine();
    }
    if (!line.empty()) endLine();
    return text;
}

uint32_t crcOf(const Bytes& bytes) {
    return eml::continueCrc32(0, bytes.data(), bytes.data() + bytes.size());
}

std::string hex(uint32_t value) {
    char text[9];
    std::snprintf(text, sizeof text, "%08x", value);
    return text;
}

std::string encoded(const Bytes& bytes, size_t lineLength, bool stuffed) {
    return "=ybegin line=" + std::to_string(lineLength) + " size=" + std::to_string(bytes.size()) +
           " name=a b.bin\r\n" + encodedLines(bytes, lineLength, stuffed) +
           "=yend size=" + std::to_string(bytes.size()) + " crc32=" + hex(crcOf(bytes)) + "\r\n";
}

TEST(Yenc, Crc32OfTheUsualCheck) {
    const Bytes check = bytesOf("123456789");
    EXPECT_EQ(crcOf(check), 0xCBF43926U);
    const uint32_t first = eml::continueCrc32(0, check.data(), check.data() + 4);
    EXPECT_EQ(eml::continueCrc32(first, check.data() + 4, check.data() + 9), 0xCBF43926U);
    EXPECT_EQ(crcOf({}), 0U);
}

TEST(Yenc, WhatIsEncodedComesBack) {
    Random random(5);
    for (size_t size = 0; size < 300; size += 3) {
        for (const bool stuffed : {false, true}) {
            Bytes bytes(size);
            // Dots at the start of lines, and what must be escaped, are frequent. Where a line ends in an escape,
            // nothing tells a doubled dot.
            for (uint8_t& byte : bytes) {
                const size_t kind = random.below(4);
                byte = static_cast<uint8_t>(kind == 0               ? '.' - 42
                                            : kind == 1 && !stuffed ? 214
                                                                    : random.below(200));
                if (stuffed && (byte == 19 || byte == 220 || byte == 223)) byte = 1;
            }
            for (const size_t lineLength : {16U, 128U}) {
                const Bytes input = bytesOf(encoded(bytes, lineLength, stuffed));
                for (const size_t piece : {size_t{1}, size_t{7}, input.size()}) {
                    DecodeProblems problems{};
                    ASSERT_EQ(
                        decode(YencDecoder(eml::kPlainKernels, problems, false), input, {piece, piece, 5}),
                        bytes)
                        << size << " " << stuffed;
                    ASSERT_EQ(problems.yencDamaged.count, 0U);
                    ASSERT_EQ(problems.cutOff.count, 0U);
                }
            }
        }
    }
}

struct Row {
    const char* rule;
    std::string input;
    std::string output;
    uint64_t damaged = 0;
    bool cutOff = false;
};

// "mno" is "CDE" and 42 more.
const Row kRows[] = {
    {"a file", "=ybegin line=128 size=3 name=x\r\nmno\r\n=yend size=3\r\n", "CDE"},
    {"LF", "=ybegin line=128 size=3 name=x\nmno\n=yend size=3\n", "CDE"},
    {"its checksum",
     "=ybegin line=128 size=3 name=x\nmno\n=yend size=3 crc32=" + hex(crcOf(bytesOf("CDE"))) + "\n", "CDE"},
    {"a checksum in capitals", "=ybegin line=128 size=3 name=x\nmno\n=yend size=3 crc32=0000\n", "CDE", 1},
    {"another size at the end", "=ybegin line=128 size=3 name=x\nmno\n=yend size=4\n", "CDE", 1},
    {"another size at the start", "=ybegin line=128 size=4 name=x\nmno\n=yend size=3\n", "CDE", 1},
    {"no end", "=ybegin line=128 size=3 name=x\nmno\n", "CDE", 0, true},
    {"no end, and too short", "=ybegin line=128 size=4 name=x\nmno\n", "CDE", 1, true},
    {"a part",
     "=ybegin part=2 line=128 size=9 name=x\n=ypart begin=4 end=6\nmno\n=yend size=3 part=2 pcrc32=" +
         hex(crcOf(bytesOf("CDE"))) + " crc32=12345678\n",
     "CDE"},
    {"a part of another size",
     "=ybegin part=2 line=128 size=9 name=x\n=ypart begin=4 end=7\nmno\n=yend size=3\n", "CDE", 1},
    {"a part with another checksum",
     "=ybegin part=1 line=128 size=9 name=x\n=ypart begin=1 end=3\nmno\n=yend size=3 part=1 pcrc32=1\n",
     "CDE", 1},
    {"an escape", "=ybegin line=128 size=1 name=x\n=}\n=yend size=1\n", std::string(1, '\x13')},
    {"an escape cut off by a line end", "=ybegin line=128 size=1 name=x\nm=\n=yend size=1\n", "C"},
    {"text before it", "Hi\n=ybegin line=128 size=3 name=x\nmno\n=yend size=3\n", "CDE"},
    {"text after it", "=ybegin line=128 size=3 name=x\nmno\n=yend size=3\n\nBye\n", "CDE", 1},
    {"an unknown keyword", "=ybegin line=128 size=3 name=x\n=yfoo\nmno\n=yend size=3\n", "CDE", 1},
    {"a name with a size in it", "=ybegin line=128 size=3 name=a size=9 b\nmno\n=yend size=3\n", "CDE"},
    {"a size that no number holds",
     "=ybegin line=128 size=99999999999999999999999 name=x\nmno\n=yend size=3\n", "CDE"},
    {"two dots that are data", "=ybegin line=128 size=5 name=x\n..mno\n=yend size=5\n",
     "\x04\x04"
     "CDE"},
    {"a dot that news has doubled", "=ybegin line=128 size=4 name=x\n..mno\n=yend size=4\n",
     "\x04"
     "CDE"},
};

std::vector<Feeding> everySeventh(const std::vector<Feeding>& all) {
    std::vector<Feeding> some;
    for (size_t i = 0; i < all.size(); i += 7) some.push_back(all[i]);
    return some;
}

TEST(Yenc, Rows) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        const Bytes input = bytesOf(row.input);
        for (const eml::DecodeKernels* const kernels : eml::test::kernelSets()) {
            for (const Feeding& feeding : everySeventh(allFeedings(input.size()))) {
                DecodeProblems problems{};
                const Bytes output = decode(YencDecoder(*kernels, problems, false), input, feeding);
                ASSERT_EQ(shown(output), shown(bytesOf(row.output)));
                ASSERT_EQ(problems.yencDamaged.count, row.damaged);
                ASSERT_EQ(problems.cutOff.count, row.cutOff ? 1U : 0U);
            }
        }
    }
}

TEST(Yenc, ALineLongerThanTheBufferIsDecodedWhole) {
    const Bytes bytes(5000, 'x');
    for (const size_t piece : {1U, 1000U, 9000U}) {
        DecodeProblems problems{};
        const Bytes input = bytesOf(encoded(bytes, 6000, false));
        EXPECT_EQ(decode(YencDecoder(eml::kPlainKernels, problems, false), input, {piece, piece, 100}),
                  bytes);
        EXPECT_EQ(problems.yencDamaged.count, 0U);
    }
}

TEST(Yenc, WithoutAFirstLineItIsDataFromTheStart) {
    DecodeProblems problems{};
    EXPECT_EQ(
        decode(YencDecoder(eml::kPlainKernels, problems, true), bytesOf("mno\n=yend size=3\n"), inOnePiece()),
        bytesOf("CDE"));
    EXPECT_EQ(problems.yencDamaged.count, 0U);
}

}  // namespace
