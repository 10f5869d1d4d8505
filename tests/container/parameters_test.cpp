#include "container/parameters.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "container/container_context.h"
#include "reference/bytes.h"
#include "reference/parameters.h"
#include "support/recording_host.h"

namespace {

using eml::Cursor;
using eml::TransferEncoding;
using reference::shown;

// A text in a block of exactly its size.
class Text {
  public:
    explicit Text(std::string_view text) : size_(text.size()), block_(new uint8_t[text.size()]) {
        std::copy(text.begin(), text.end(), block_.get());
    }

    [[nodiscard]] Cursor cursor() const { return {block_.get(), block_.get() + size_}; }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> block_;
};

uint32_t classOf(std::string_view text) { return eml::classifyContentType(Text(text).cursor()); }

TransferEncoding encodingOf(std::string_view text) { return eml::classifyEncoding(Text(text).cursor()); }

TransferEncoding referenceEncoding(std::string_view text) {
    return static_cast<TransferEncoding>(reference::transferEncoding(text));
}

std::optional<std::string> asText(const eml::HeaderValue& value) {
    if (!value.found) return std::nullopt;
    return std::string(value.begin, value.begin + value.length);
}

std::optional<std::string> boundaryOf(std::string_view text) {
    const Text block(text);
    return asText(eml::boundaryValue(block.cursor()));
}

std::optional<std::string> quotedOf(std::string_view text) {
    const Text block(text);
    return asText(eml::quotedValue(block.cursor()));
}

std::string parameterOf(std::string_view text) {
    const Text block(text);
    Cursor cursor = block.cursor();
    eml::skipToParameter(cursor);
    return std::string(cursor.pos, cursor.end);
}

std::string upper(std::string text) {
    for (char& character : text) {
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 32);
    }
    return text;
}

struct ValueRow {
    std::string text;
    uint32_t value;
};

struct EncodingRow {
    std::string_view text;
    TransferEncoding encoding;
};

TEST(ContentClass, Rows) {
    const ValueRow rows[] = {
        {"text/plain", EML_CLASS_TEXT},
        {"text/html", EML_CLASS_HTML},
        {"application/rtf", EML_CLASS_RTF},
        {"application/pkcs7-mime", EML_CLASS_PKCS7_MIME},
        {"application/pkcs7-signature", EML_CLASS_PKCS7_SIGNATURE},
        {"application/x-pkcs7-signature", EML_CLASS_PKCS7_SIGNATURE},
        {"application/octet-stream", EML_CLASS_BINARY},
        {"application", EML_CLASS_BINARY},
        {"audio/basic", EML_CLASS_BINARY},
        {"audio", EML_CLASS_BINARY},
        {"image/png", EML_CLASS_BINARY},
        {"image", EML_CLASS_BINARY},
        {"video/mpeg", EML_CLASS_BINARY},
        {"video", EML_CLASS_BINARY},
        {"multipart/alternative", EML_CLASS_ALTERNATIVE},
        {"multipart/signed", EML_CLASS_SIGNED},
        {"multipart/related", EML_CLASS_RELATED},
        {"multipart/digest", EML_CLASS_TEXT},
        {"multipart/mixed", EML_CLASS_MULTIPART},
        {"multipart/report", EML_CLASS_MULTIPART},
        {"multipart/parallel", EML_CLASS_MULTIPART},
        {"multipart/", EML_CLASS_MULTIPART},
        {"message/rfc822", EML_CLASS_MESSAGE},
        {"message/partial", EML_CLASS_MESSAGE},
        {"message/", EML_CLASS_MESSAGE},
    };
    for (const ValueRow& row : rows) {
        for (const std::string& form : {row.text, upper(row.text)}) {
            for (const char* before : {"", " ", "\t \t"}) {
                EXPECT_EQ(row.value, classOf(before + form)) << before << form;
                EXPECT_EQ(row.value, reference::contentClass(before + form)) << before << form;
            }
        }
    }
}

TEST(ContentClass, WhatFollowsThePrefixDoesNotMatter) {
    const ValueRow rows[] = {
        {"text/htmlx", EML_CLASS_HTML},
        {"text/html; charset=utf-8", EML_CLASS_HTML},
        {"application/rtf2", EML_CLASS_RTF},
        {"application/pkcs7-mime-x", EML_CLASS_PKCS7_MIME},
        {"applications", EML_CLASS_BINARY},
        {"application/x-pkcs7-mime", EML_CLASS_BINARY},
        {"audiovisual", EML_CLASS_BINARY},
        {"images", EML_CLASS_BINARY},
        {"videos", EML_CLASS_BINARY},
        {"multipart/alternativex", EML_CLASS_ALTERNATIVE},
        {"multipart/digest-x", EML_CLASS_TEXT},
        {"multipart/relate", EML_CLASS_MULTIPART},
        {"multipart/ mixed", EML_CLASS_MULTIPART},
    };
    for (const ValueRow& row : rows) EXPECT_EQ(row.value, classOf(row.text)) << row.text;
}

TEST(ContentClass, EverythingElseIsText) {
    const char* const rows[] = {"",
                                " ",
                                "text",
                                "text/",
                                "text/enriched",
                                "text/calendar",
                                "text/rtf",
                                "multipart",
                                "message",
                                "messages/",
                                "applicatio",
                                "x-mixed/y",
                                "model/vrml",
                                "font/ttf",
                                "\"text/html\"",
                                ";text/html",
                                "(c) text/html",
                                "\r\n text/html",
                                "\vtext/html",
                                "vide",
                                "imag",
                                "audi",
                                "a",
                                "\xFF"};
    for (const char* row : rows) EXPECT_EQ(uint32_t{EML_CLASS_TEXT}, classOf(row)) << row;
}

TEST(ContentClass, AZeroByteIsNoPartOfAType) {
    EXPECT_EQ(uint32_t{EML_CLASS_TEXT}, classOf(std::string_view("text/\0html", 10)));
    EXPECT_EQ(uint32_t{EML_CLASS_HTML}, classOf(std::string_view("text/html\0x", 11)));
}

TEST(ContentClass, EveryChangedOrCutPrefixAgreesWithTheReference) {
    const char* const prefixes[] = {"application/rtf",
                                    "application/pkcs7-mime",
                                    "application/pkcs7-signature",
                                    "application/x-pkcs7-signature",
                                    "audio/",
                                    "image/",
                                    "multipart/alternative",
                                    "multipart/signed",
                                    "multipart/related",
                                    "multipart/digest",
                                    "message/",
                                    "text/plain",
                                    "text/html",
                                    "video/"};
    for (const std::string prefix : prefixes) {
        for (size_t place = 0; place < prefix.size(); ++place) {
            const std::string cut = prefix.substr(0, place);
            EXPECT_EQ(reference::contentClass(cut), classOf(cut)) << cut;
            for (int byte = 1; byte < 256; ++byte) {
                std::string changed = prefix;
                changed[place] = static_cast<char>(byte);
                ASSERT_EQ(reference::contentClass(changed), classOf(changed)) << shown(changed);
            }
        }
    }
}

TEST(ContentClass, OnlyTheMultipartClassesTakeABoundary) {
    for (uint32_t value = 0; value <= 11; ++value)
        EXPECT_EQ(value >= 6 && value <= 9, eml::isMultipart(value)) << value;
}

TEST(TransferEncoding, Rows) {
    const EncodingRow rows[] = {
        {"7bit", TransferEncoding::k7Bit},
        {"8bit", TransferEncoding::k8Bit},
        {"base64", TransferEncoding::kBase64},
        {"quoted-printable", TransferEncoding::kQuotedPrintable},
        {" base64", TransferEncoding::kBase64},
        {"\t\"Base64\"", TransferEncoding::kBase64},
        {"\" base64 \"", TransferEncoding::kBase64},
        {"\"\"\"7bit", TransferEncoding::k7Bit},
        {"BASE64", TransferEncoding::kBase64},
        {"Quoted-Printable", TransferEncoding::kQuotedPrintable},
        {"7BIT", TransferEncoding::k7Bit},
        {"8Bit", TransferEncoding::k8Bit},
        {"base64\r\n", TransferEncoding::kBase64},
        {"base64x", TransferEncoding::kBase64},
        {"7bits", TransferEncoding::k7Bit},
        {"quoted-printable;", TransferEncoding::kQuotedPrintable},
        {"", TransferEncoding::kNone},
        {"binary", TransferEncoding::kNone},
        {"b", TransferEncoding::kNone},
        {"base6", TransferEncoding::kNone},
        {"base-64", TransferEncoding::kNone},
        {"q", TransferEncoding::kNone},
        {"quoted-printabl", TransferEncoding::kNone},
        {"quoted printable", TransferEncoding::kNone},
        {"7", TransferEncoding::kNone},
        {"7-bit", TransferEncoding::kNone},
        {"8", TransferEncoding::kNone},
        {"x-uuencode", TransferEncoding::kNone},
        {"uuencode", TransferEncoding::kNone},
        {"(c) base64", TransferEncoding::kNone},
        {"\r\n base64", TransferEncoding::kNone},
        {"'base64'", TransferEncoding::kNone},
    };
    for (const EncodingRow& row : rows) {
        EXPECT_EQ(row.encoding, encodingOf(row.text)) << row.text;
        EXPECT_EQ(row.encoding, referenceEncoding(row.text)) << row.text;
    }
}

TEST(TransferEncoding, EveryChangedOrCutNameAgreesWithTheReference) {
    for (const std::string name : {"7bit", "8bit", "base64", "quoted-printable"}) {
        for (size_t place = 0; place < name.size(); ++place) {
            EXPECT_EQ(referenceEncoding(name.substr(0, place)), encodingOf(name.substr(0, place)));
            for (int byte = 1; byte < 256; ++byte) {
                std::string changed = name;
                changed[place] = static_cast<char>(byte);
                ASSERT_EQ(referenceEncoding(changed), encodingOf(changed)) << shown(changed);
            }
        }
    }
}

struct TextRow {
    std::string text;
    std::optional<std::string> value;
};

TEST(BoundaryValue, Rows) {
    const TextRow rows[] = {
        {"boundary=abc", "abc"},
        {"Boundary=\"abc\"", "abc"},
        {"BOUNDARY=abc; x=y", "abc"},
        {"boundary=abc def", "abc"},
        {"boundary=abc\tdef", "abc"},
        {"boundary=abc\r\n", "abc"},
        {"boundary=abc\ndef", "abc"},
        {"boundary=\"abc def;\tghi\"", "abc def;\tghi"},
        {"boundary=\"abc", "abc"},
        {"boundary=\"abc\r\ndef\"", "abc"},
        {"boundary=\"abc\ndef\"", "abc"},
        {"boundary=\" abc \"", " abc "},
        {"boundary=abc\"def", "abc\"def"},
        {"boundary=(abc)", "(abc)"},
        {"boundary=a=b", "a=b"},
        {"boundary=\"a\\\"b\"", "a\\"},
        {"boundary='abc'", "'abc'"},
        {"boundary=--abc", "--abc"},
        {std::string("boundary=ab\0cd", 14), "ab"},
        {std::string("boundary=\"ab\0cd\"", 16), "ab"},
        {"boundary=", ""},
        {"boundary=\"\"", ""},
        {"boundary=\"", ""},
        {"boundary=;abc", ""},
        {"boundary= abc", ""},
        {"boundary=\tabc", ""},
        {"boundary=\r\nabc", ""},
        {"boundary=\nabc", ""},
        {"boundary=\"\r\nabc\"", ""},
        {std::string("boundary=\0abc", 13), ""},
        {"boundary", std::nullopt},
        {"boundary =abc", std::nullopt},
        {"boundary*0=abc", std::nullopt},
        {" boundary=abc", std::nullopt},
        {"xboundary=abc", std::nullopt},
        {"", std::nullopt},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(row.value, boundaryOf(row.text)) << shown(row.text);
        EXPECT_EQ(row.value, reference::boundary(row.text)) << shown(row.text);
    }
}

TEST(QuotedValue, Rows) {
    const TextRow rows[] = {
        {"a.txt", "a.txt"},
        {"\"a.txt\"", "a.txt"},
        {"a b.txt", "a b.txt"},
        {"a b.txt; x=y\r\n", "a b.txt; x=y"},
        {"\"a b.txt\"; x=y", "a b.txt"},
        {"a.txt\r\n", "a.txt"},
        {"a.txt\n", "a.txt"},
        {"a.txt\rb", "a.txt"},
        {"a.txt \r\n", "a.txt "},
        {"  a.txt", "a.txt"},
        {"\t\"a.txt", "a.txt"},
        {"\" \t\"a.txt\"", "a.txt"},
        {"\"\"a.txt\"\"", "a.txt"},
        {"a\"b.txt", "a"},
        {"\"a\\\"b.txt\"", "a\\"},
        {";a.txt", ";a.txt"},
        {"'a.txt'", "'a.txt'"},
        {"=?utf-8?Q?a=2Etxt?=", "=?utf-8?Q?a=2Etxt?="},
        {"\"../../etc/passwd\"", "../../etc/passwd"},
        {"\"C:\\x\"", "C:\\x"},
        {"\"\xC3\xA4\xFF\"", "\xC3\xA4\xFF"},
        {std::string("ab\0cd", 5), "ab"},
        {"", std::nullopt},
        {"\"\"", std::nullopt},
        {"\"", std::nullopt},
        {" \t ", std::nullopt},
        {"\r\na.txt", std::nullopt},
        {"\"\ra.txt\"", std::nullopt},
        {"\"\"; x=y", "; x=y"},
        {std::string("\0a", 2), std::nullopt},
        {std::string("\" \0a", 4), std::nullopt},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(row.value, quotedOf(row.text)) << shown(row.text);
        EXPECT_EQ(row.value, reference::quotedValue(row.text)) << shown(row.text);
    }
}

TEST(SkipToParameter, Rows) {
    const struct {
        std::string text;
        std::string rest;
    } rows[] = {
        {"text/plain; charset=utf-8", "charset=utf-8"},
        {"text/plain;charset=utf-8", "charset=utf-8"},
        {"text/plain charset=utf-8", "charset=utf-8"},
        {"text/plain\tcharset=utf-8", "charset=utf-8"},
        {"text/plain ;;\t ; charset=utf-8", "charset=utf-8"},
        {"text/plain; charset=utf-8; name=a", "charset=utf-8; name=a"},
        {"text / plain; name=a", "/ plain; name=a"},
        {";name=a", "name=a"},
        {"a;\"b\"", "\"b\""},
        {"text/plain", ""},
        {"text/plain;", ""},
        {"", ""},
        {"text/plain;\r\n", "\r\n"},
        {"text/plain\r\n name=a", "\r\n name=a"},
        {"text/plain;\n name=a", "\n name=a"},
        {std::string("text\0; name=a", 13), std::string("\0; name=a", 9)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(shown(row.rest), shown(parameterOf(row.text))) << shown(row.text);
    }
}

// Every string of up to six of the bytes that the rules look at.
TEST(HeaderValues, EveryShortTextAgreesWithTheReference) {
    constexpr std::string_view kAlphabet("\"; \t\r\na\0", 8);
    for (size_t length = 0; length <= 6; ++length) {
        size_t total = 1;
        for (size_t i = 0; i < length; ++i) total *= kAlphabet.size();
        for (size_t index = 0; index < total; ++index) {
            std::string text(length, ' ');
            size_t digits = index;
            for (char& character : text) {
                character = kAlphabet[digits % kAlphabet.size()];
                digits /= kAlphabet.size();
            }
            ASSERT_EQ(reference::quotedValue(text), quotedOf(text)) << shown(text);
            const std::string parameter = "boundary=" + text;
            ASSERT_EQ(reference::boundary(parameter), boundaryOf(parameter)) << shown(parameter);
            const std::string rest = parameterOf(text);
            const std::string line = rest.substr(0, rest.find_first_of(std::string_view("\0\r\n", 3)));
            ASSERT_EQ(reference::firstParameter(text), line) << shown(text);
        }
    }
}

TEST(CopyBoundary, HasTwoDashesAndTheirLength) {
    eml::test::RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    const struct {
        const char* text;
        const char* copy;
    } rows[] = {
        {"Boundary=\"abc\"", "--abc"}, {"boundary=", "--"}, {"boundary=\"\"", "--"}, {"boundary=--", "----"}};
    for (const auto& row : rows) {
        uint32_t length = 99;
        char* copy = eml::copyBoundary(allocator, Text(row.text).cursor(), length);
        ASSERT_NE(nullptr, copy) << row.text;
        EXPECT_STREQ(row.copy, copy);
        EXPECT_EQ(std::string_view(row.copy).size(), length) << row.text;
        allocator.free(&allocator, copy);
    }
}

TEST(CopyBoundary, NoneWithoutAParameter) {
    eml::test::RecordingHost host;
    uint32_t length = 99;
    EXPECT_EQ(nullptr, eml::copyBoundary(host.services().allocator, Text("name=abc").cursor(), length));
    EXPECT_EQ(99u, length);
    EXPECT_EQ(0u, host.journal().calls(eml::test::Entry::kAllocate));
}

TEST(CopyBoundary, NoneWhenMemoryIsExhausted) {
    eml::test::RecordingHost host;
    host.journal().fail(eml::test::Entry::kAllocate, {1, true});
    uint32_t length = 99;
    EXPECT_EQ(nullptr, eml::copyBoundary(host.services().allocator, Text("boundary=abc").cursor(), length));
    EXPECT_EQ(99u, length);
}

TEST(CopyQuotedValue, IsTerminated) {
    eml::test::RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    char* copy = eml::copyQuotedValue(allocator, Text("\"a b.txt\"; x").cursor());
    ASSERT_NE(nullptr, copy);
    EXPECT_STREQ("a b.txt", copy);
    allocator.free(&allocator, copy);
}

TEST(CopyQuotedValue, NoneForAnEmptyValueAndNothingAllocated) {
    eml::test::RecordingHost host;
    EXPECT_EQ(nullptr, eml::copyQuotedValue(host.services().allocator, Text("\"\"\r\n").cursor()));
    EXPECT_EQ(0u, host.journal().calls(eml::test::Entry::kAllocate));
}

TEST(CopyQuotedValue, NoneWhenMemoryIsExhausted) {
    eml::test::RecordingHost host;
    host.journal().fail(eml::test::Entry::kAllocate, {1, true});
    EXPECT_EQ(nullptr, eml::copyQuotedValue(host.services().allocator, Text("abc").cursor()));
}

}  // namespace
