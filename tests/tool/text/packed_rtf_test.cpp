#include "tool/text/packed_rtf.h"

#include <gtest/gtest.h>

#include <string>

namespace emltool {
namespace {

std::string number(uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
}

std::string packed(uint32_t rawSize, std::string_view kind, const std::string& content) {
    return number(static_cast<uint32_t>(content.size()) + 12) + number(rawSize) + std::string(kind) +
           number(0) + content;
}

// A reference to earlier text.
std::string reference(unsigned position, unsigned length) {
    const unsigned token = position << 4 | (length - 2);
    return {static_cast<char>(token >> 8), static_cast<char>(token & 0xFF)};
}

UnpackedRtf unpack(const std::string& bytes) {
    return unpackRtf({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

constexpr unsigned kStart = 207;  // where the text begins, after the dictionary
constexpr std::string_view kLzfu = "LZFu";

TEST(PackedRtf, Unpacks) {
    struct Case {
        std::string name;
        std::string bytes;
        std::string text;
        bool complete;
    };
    const std::string eight = std::string(1, '\0') + "abcdefgh";
    const Case cases[] = {
        // MS-OXRTFCP sections 3.1.1 and 3.1.2
        {"of the dictionary",
         packed(
             43, kLzfu,
             std::string("\x03\x00\x0a\x00rcpg125B2\x0a\xf3 hel\x09\x00 bw\x05\xb0ld}\x0a\x80\x0f\xa0", 33)),
         "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n", true},
        {"over itself", packed(28, kLzfu, std::string("\x41\x00\x04\x20WXYZ\x0d\x6e}\x01\x0e\xb0", 14)),
         "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}", true},
        {"stored", packed(5, "MELA", "{rtf}"), "{rtf}", true},
        {"stored, and something follows", packed(3, "MELA", "{rtf}"), "{rt", true},
        {"stored, cut off", packed(9, "MELA", "{rtf}"), "{rtf}", false},
        {"without an end mark", packed(8, kLzfu, eight), "abcdefgh", true},
        {"more than it claims", packed(7, kLzfu, eight), "abcdefg", true},
        {"cut off", packed(16, kLzfu, eight), "abcdefgh", false},
        {"cut off in a reference", packed(16, kLzfu, "\x01\x0c"), "", false},
        {"before the dictionary", packed(16, kLzfu, "\x01" + reference(kStart + 1, 5)), "", false},
        {"the end at once", packed(0, kLzfu, "\x01" + reference(kStart, 2)), "", true},
        {"nothing", packed(0, kLzfu, ""), "", false},
        {"unknown", packed(5, "LZFX", "{rtf}"), "", false},
        {"no header", "LZFu", "", false},
        {"empty", "", "", false},
    };
    for (const Case& one : cases) {
        UnpackedRtf result = unpack(one.bytes);
        EXPECT_EQ(std::string(result.bytes.begin(), result.bytes.end()), one.text) << one.name;
        EXPECT_EQ(result.complete, one.complete) << one.name;
    }
}

// The longest references, one after another: eight times as much comes out, up to the limit.
TEST(PackedRtf, HasALimit) {
    constexpr size_t kLimit = 100000;
    std::string content;
    unsigned at = kStart;
    while (content.size() < kLimit / 7) {
        content += '\xFF';
        for (int i = 0; i < 8; ++i, at += 17) content += reference((at - 17) % 4096, 17);
    }
    const std::string bytes = packed(UINT32_MAX, kLzfu, content);
    UnpackedRtf result = unpackRtf({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, kLimit);
    EXPECT_FALSE(result.complete);
    EXPECT_LE(result.bytes.size(), kLimit);
    EXPECT_GT(result.bytes.size(), kLimit - 17);
    const std::string stored = packed(10, "MELA", "0123456789");
    result = unpackRtf({reinterpret_cast<const uint8_t*>(stored.data()), stored.size()}, 4);
    EXPECT_FALSE(result.complete);
    EXPECT_EQ(result.bytes.size(), 4U);
}

}  // namespace
}  // namespace emltool
