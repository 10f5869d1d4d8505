#include "bytes/transfer_encoding.h"

#include <gtest/gtest.h>

namespace eml::test {
namespace {

TransferEncoding encodingOf(std::string_view text) {
    const auto* begin = reinterpret_cast<const uint8_t*>(text.data());
    return leadingEncoding({begin, begin + text.size()});
}

TEST(EncodingWords, TheWordThatATextBeginsWithDecides) {
    const struct {
        std::string_view text;
        TransferEncoding encoding;
    } rows[] = {
        {"7bit", TransferEncoding::k7Bit},
        {"8BIT", TransferEncoding::k8Bit},
        {"Base64", TransferEncoding::kBase64},
        {"quoted-PRINTABLE", TransferEncoding::kQuotedPrintable},
        {"base64x", TransferEncoding::kBase64},
        {"base6", TransferEncoding::kNone},
        {" base64", TransferEncoding::kNone},
        {"binary", TransferEncoding::kNone},
        {"quoted printable", TransferEncoding::kNone},
        {"", TransferEncoding::kNone},
    };
    for (const auto& row : rows) EXPECT_EQ(encodingOf(row.text), row.encoding) << row.text;
}

TEST(EncodingWords, EachWordIsFoundAndNoPartOfIt) {
    for (const EncodingWord& row : kEncodingWords) {
        const std::string_view word = row.word;
        EXPECT_EQ(encodingOf(word), row.encoding) << word;
        for (size_t length = 0; length < word.size(); ++length) {
            EXPECT_EQ(encodingOf(word.substr(0, length)), TransferEncoding::kNone) << word << length;
        }
    }
}

TEST(EncodingWords, CodesAreThoseThatHostsAndDumpsKnow) {
    EXPECT_EQ(static_cast<uint32_t>(TransferEncoding::kNone), 0U);
    EXPECT_EQ(static_cast<uint32_t>(TransferEncoding::k7Bit), 1U);
    EXPECT_EQ(static_cast<uint32_t>(TransferEncoding::k8Bit), 2U);
    EXPECT_EQ(static_cast<uint32_t>(TransferEncoding::kBase64), 4U);
    EXPECT_EQ(static_cast<uint32_t>(TransferEncoding::kQuotedPrintable), 5U);
}

}  // namespace
}  // namespace eml::test
