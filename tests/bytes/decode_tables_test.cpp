#include "bytes/decode_tables.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(DecodeTables, Base64AlphabetHasItsValuesAndAllElseIsInvalid) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (size_t byte = 0; byte < 256; ++byte) {
        const size_t place = kAlphabet.find(static_cast<char>(byte));
        const size_t expected = place == std::string_view::npos ? 0x7F : place;
        EXPECT_EQ(expected, eml::kBase64Table[byte]) << byte;
    }
}

TEST(DecodeTables, PaddingIsNoBase64Digit) { EXPECT_EQ(0x7F, eml::kBase64Table['=']); }

TEST(DecodeTables, HexDigitsOfBothCasesHaveTheirValuesAndAllElseIsInvalid) {
    constexpr std::string_view kUpper = "0123456789ABCDEF";
    constexpr std::string_view kLower = "0123456789abcdef";
    for (size_t byte = 0; byte < 256; ++byte) {
        const size_t upper = kUpper.find(static_cast<char>(byte));
        const size_t lower = kLower.find(static_cast<char>(byte));
        const size_t none = std::string_view::npos;
        const size_t expected = upper != none ? upper : lower != none ? lower : 0x7F;
        EXPECT_EQ(expected, eml::kHexTable[byte]) << byte;
    }
}

}  // namespace
