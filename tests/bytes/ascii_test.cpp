#include "bytes/ascii.h"

#include <gtest/gtest.h>

#include <clocale>

#include "reference/bytes.h"

namespace {

using reference::bytesOf;

TEST(Ascii, BlanksAreSpaceAndTab) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(byte == ' ' || byte == '\t', eml::isBlank(static_cast<uint8_t>(byte))) << byte;
    }
}

TEST(Ascii, LineEndsAreCrAndLf) {
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(byte == 13 || byte == 10, eml::isLineEnd(static_cast<uint8_t>(byte))) << byte;
    }
}

void expectOnlyAsciiLettersFolded() {
    for (int byte = 0; byte < 256; ++byte) {
        const int folded = byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
        EXPECT_EQ(folded, eml::toLower(static_cast<uint8_t>(byte))) << byte;
    }
}

TEST(Ascii, OnlyAsciiLettersAreFolded) { expectOnlyAsciiLettersFolded(); }

// In a Turkish or a Latin-1 locale the C library folds otherwise.
TEST(Ascii, FoldingIgnoresTheLocale) {
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    for (const char* name : {"tr_TR.UTF-8", "tr_TR", "de_DE.ISO-8859-1", "C.UTF-8"}) {
        std::setlocale(LC_CTYPE, name);
        expectOnlyAsciiLettersFolded();
        std::setlocale(LC_CTYPE, before.c_str());
    }
}

TEST(Ascii, ComparesWithoutRegardToCase) {
    const auto text = bytesOf("Content-TYPE:x");
    EXPECT_TRUE(eml::equalNoCase(text.data(), "content-type:", 13));
    EXPECT_TRUE(eml::equalNoCase(text.data(), "CONTENT-type:", 13));
    EXPECT_FALSE(eml::equalNoCase(text.data(), "content-type;", 13));
    EXPECT_TRUE(eml::equalNoCase(text.data(), "anything", 0));
}

// "[" and "{" differ by the bit that folding sets, and so do "@" and "`".
TEST(Ascii, OnlyLettersAreComparedWithoutRegardToCase) {
    for (int left = 0; left < 256; ++left) {
        for (int right = 0; right < 256; ++right) {
            const auto fold = [](int byte) { return byte >= 'A' && byte <= 'Z' ? byte + 32 : byte; };
            const auto leftByte = static_cast<uint8_t>(left);
            const auto rightByte = static_cast<char>(right);
            ASSERT_EQ(fold(left) == fold(right), eml::equalNoCase(&leftByte, &rightByte, 1))
                << left << ' ' << right;
        }
    }
}

}  // namespace
