#include "mime/content_type.h"

#include <emlreader/eml_mime.h>
#include <gtest/gtest.h>

#include <string>

#include "mime/heap_text.h"

namespace {

using namespace eml;

TEST(ContentType, MediaTypes) {
    struct Row {
        const char* rule;
        const char* value;
        const char* type;
        const char* subtype;
        const char* parameters;
    };
    const Row rows[] = {
        {"RFC 2045 section 5.1", " text/plain; charset=us-ascii", "text", "plain", "; charset=us-ascii"},
        {"upper case", "TEXT/HTML", "TEXT", "HTML", ""},
        {"folded", "\r\n multipart/mixed;\r\n boundary=x", "multipart", "mixed", ";\r\n boundary=x"},
        {"comments", "(a) text (b(c)) / (d) plain (e); x=y", "text", "plain", " (e); x=y"},
        {"blanks around the slash", "text / plain", "text", "plain", ""},
        {"quotes", "\"text/plain\"; x=y", "text", "plain", "\"; x=y"},
        {"no semicolon", "text/plain charset=utf-8", "text", "plain", " charset=utf-8"},
        {"a comma", "text/plain, charset=utf-8", "text", "plain", ", charset=utf-8"},
        {"a token with specials", "application/vnd.x-y+z.1; a=b", "application", "vnd.x-y+z.1", "; a=b"},
        {"no subtype of text", "text; charset=utf-8", "text", "plain", "; charset=utf-8"},
        {"no subtype of multipart", "Multipart; boundary=x", "Multipart", "mixed", "; boundary=x"},
        {"a slash and no subtype", "text/; charset=utf-8", "text", "plain", "; charset=utf-8"},
        {"no subtype of another", "image; name=x", "", "", "; name=x"},
        {"no type", "/plain; a=b", "", "", "; a=b"},
        {"only a parameter", "charset=utf-8", "", "", "charset=utf-8"},
        {"empty", "", "", "", ""},
        {"only blanks", " \r\n ", "", "", ""},
        {"only a semicolon", ";", "", "", ";"},
        {"an escape in a comment", "(a\\)b) text/plain", "text", "plain", ""},
        {"a comment that does not end", "(text/plain", "text", "plain", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        const MediaType media = readMediaType(row.value);
        EXPECT_EQ(media.type, row.type);
        EXPECT_EQ(media.subtype, row.subtype);
        EXPECT_EQ(media.parameters, row.parameters[0] == '"' ? row.parameters + 1 : row.parameters);
    }
}

TEST(ContentType, TokensAndTheirParameters) {
    struct Row {
        const char* value;
        const char* token;
        const char* parameters;
    };
    const Row rows[] = {
        {" attachment; filename=x", "attachment", "; filename=x"},
        {"attachment", "attachment", ""},
        {"(c) inline (d) ; a=b", "inline", " (d) ; a=b"},
        {"\"attachment\"; a=b", "attachment", "; a=b"},
        {"attachment filename=x", "attachment", " filename=x"},
        {"filename=x", "", "filename=x"},
        {"filename = x", "", "filename = x"},
        {"; filename=x", "", "; filename=x"},
        {"", "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        const TokenAndParameters read = readToken(row.value);
        EXPECT_EQ(read.token, row.token);
        EXPECT_EQ(read.parameters, row.parameters);
    }
}

TEST(ContentType, TransferEncodings) {
    struct Row {
        const char* value;
        uint32_t encoding;
        const char* written;
        bool irregular;
    };
    const Row rows[] = {
        {" 7bit", EML_MIME_ENCODING_7BIT, "7bit", false},
        {"8BIT", EML_MIME_ENCODING_8BIT, "8BIT", false},
        {"binary", EML_MIME_ENCODING_BINARY, "binary", false},
        {"Base64", EML_MIME_ENCODING_BASE64, "Base64", false},
        {"quoted-printable", EML_MIME_ENCODING_QUOTED_PRINTABLE, "quoted-printable", false},
        {"x-uuencode", EML_MIME_ENCODING_UUENCODE, "x-uuencode", false},
        {"uuencode", EML_MIME_ENCODING_UUENCODE, "uuencode", false},
        {"x-uue", EML_MIME_ENCODING_UUENCODE, "x-uue", false},
        {"x-yenc", EML_MIME_ENCODING_YENC, "x-yenc", false},
        {"base64 (x)", EML_MIME_ENCODING_BASE64, "base64", false},
        {"(x) base64", EML_MIME_ENCODING_BASE64, "base64", false},
        {"\r\n base64\r\n ", EML_MIME_ENCODING_BASE64, "base64", false},
        {"base64;", EML_MIME_ENCODING_BASE64, "base64", true},
        {"base64; charset=utf-8", EML_MIME_ENCODING_BASE64, "base64", true},
        {"base 64", EML_MIME_ENCODING_BASE64, "base 64", true},
        {"base-64", EML_MIME_ENCODING_BASE64, "base-64", true},
        {"\"base64\"", EML_MIME_ENCODING_BASE64, "\"base64\"", true},
        {"base64 x", EML_MIME_ENCODING_BASE64, "base64 x", true},
        {"base64, 7bit", EML_MIME_ENCODING_BASE64, "base64, 7bit", true},
        {"8-bit", EML_MIME_ENCODING_8BIT, "8-bit", true},
        {"8bits", EML_MIME_ENCODING_8BIT, "8bits", true},
        {"7 bit", EML_MIME_ENCODING_7BIT, "7 bit", true},
        {"quoted printable", EML_MIME_ENCODING_QUOTED_PRINTABLE, "quoted printable", true},
        {"quoted_printable", EML_MIME_ENCODING_QUOTED_PRINTABLE, "quoted_printable", true},
        {"utf-8", EML_MIME_ENCODING_UNKNOWN, "utf-8", false},
        {"x-none", EML_MIME_ENCODING_UNKNOWN, "x-none", false},
        {"7bit8bitbase64quoted-printable", EML_MIME_ENCODING_UNKNOWN, "7bit8bitbase64quoted-printable",
         false},
        {"", EML_MIME_ENCODING_NONE, "", false},
        {";", EML_MIME_ENCODING_NONE, "", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        const EncodingName read = readTransferEncoding(row.value);
        EXPECT_EQ(read.encoding, row.encoding);
        EXPECT_EQ(read.written, row.written);
        EXPECT_EQ(read.irregular, row.irregular);
    }
}

TEST(ContentType, LowerCaseIsOfAsciiAlone) {
    eml::test::HeapText out;
    appendLower("TEXT/x-\xC3\x84Z[", out.builder());
    EXPECT_EQ(out.str(), "text/x-\xC3\x84z[");
}

}  // namespace
