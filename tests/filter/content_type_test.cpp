// Header blocks as the filter reads them for the structure of a message.
#include "filter/content_type.h"

#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

std::string repeated(std::string_view text, size_t count) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
}

// The names of the attachments, each in brackets.
std::string namesOf(const EmlFilterContext& context) {
    std::string names;
    for (int32_t i = 0; i < context.parts.attachments.count; ++i)
        names.append("[").append(attachmentName(context, context.parts.attachments.records[i])).append("]");
    return names;
}

// A message whose header has these lines.
std::string withHeader(std::string_view lines) { return crlf(std::string(lines) + "\n\nsome text\n"); }

// A multipart message with one part for each header.
std::string withParts(const std::vector<std::string>& headers) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (const std::string& header : headers) message += "--b\n" + header + "\n\ncontent\n";
    return crlf(message + "--b--\n");
}

TEST(FilterType, IsKeptAsTheHeaderHasIt) {
    struct Row {
        const char* value;
        std::string type;
        std::string boundary;
    };
    const Row kRows[] = {
        {"Multipart/Mixed; boundary=abc", "multipart/mixed", "--abc"},
        {"Multipart/Mixed; boundary=\"abc\"", "multipart/mixed", "--abc"},
        {"MULTIPART/ALTERNATIVE; boundary=abc", "multipart/alternative", "--abc"},
        {"multipart/report; boundary=abc", "multipart/report", "--abc"},
        {"multipart/signed; boundary=abc", "multipart/signed", "--abc"},
        {"multipart/appledouble; boundary=abc", "multipart/appledouble", "--abc"},
        {"multipart/mixedness; boundary=abc", "multipart/mixed", "--abc"},
        {"multipart/related; boundary=abc", "multipart/related", ""},
        {"multipart/digest; boundary=abc", "multipart/digest", ""},
        {"multipart/parallel; boundary=abc", "multipart/parallel", ""},
        {"TEXT/Html", "TEXT/Html", ""},
        {"text/plain;x", "text/plain", ""},
        {"text/plain\tx", "text/plain", ""},
        {"text/plain x", "text/plain", ""},
        {"\t text/plain", "text/plain", ""},
        {"message/rfc822", "message/rfc822", ""},
        {"Message/RFC822x", "message/rfc822", ""},
        {"x/234567890123456789012345678901234567890123456789012345678901234567890",
         "x/2345678901234567890123456789012345678901234567890123456789012", ""},
        {"", "", ""},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(
            withHeader(std::string("Content-Type: ") + row.value + "\nX-Other: a longer field"));
        ASSERT_NE(filter.context(), nullptr) << row.value;
        EXPECT_EQ(filter.opened().contentType, row.type) << row.value;
        const char* const boundary = filter.opened().boundary.text;
        EXPECT_EQ(boundary != nullptr ? boundary : "", row.boundary) << row.value;
        EXPECT_EQ(filter.opened().signedMessage, row.type == "multipart/signed" ? 1U : 0U) << row.value;
        EXPECT_FALSE(filter.opened().encrypted) << row.value;
    }
}

struct NameRow {
    std::string header;
    std::string names;
};

void expectNames(const std::vector<NameRow>& rows) {
    for (const NameRow& row : rows) {
        OpenFilter filter(withParts({row.header}));
        ASSERT_NE(filter.context(), nullptr) << row.header;
        EXPECT_EQ(namesOf(filter.opened()), row.names) << row.header;
        EXPECT_EQ(emlGetFileNumber(filter.context()), row.names.empty() ? 0 : 1) << row.header;
    }
}

TEST(FilterAttachment, IsNamedByTheFirstParameterOfItsType) {
    expectNames({
        {"Content-Type: application/pdf; name=a.pdf", "[a.pdf]"},
        {"Content-Type: application/pdf;name=a.pdf", "[a.pdf]"},
        {"Content-Type: application/pdf ;; name=a.pdf", "[a.pdf]"},
        {"content-type:APPLICATION/PDF; NAME=a.pdf", "[a.pdf]"},
        {"Content-Type: application/pdf; name=\"a b.pdf\"; x", "[a b.pdf]"},
        {"Content-Type: application/pdf; name=\"a;b.pdf\"", "[a;b.pdf]"},
        {"Content-Type: application/pdf; name=a b.pdf; x", "[a b.pdf]"},
        {"Content-Type: application/pdf; name=\"unclosed", "[unclosed]"},
        {"Content-Type: application/pdf; name=\"\"two\"", ""},
        {"Content-Type: application/pdf;\n name=folded", "[folded]"},
        {"Content-Type: application/pdf;\n\tname=folded", "[folded]"},
        {"Content-Type: application/pdf; x=1; name=a.pdf", ""},
        {"Content-Type: application/pdf;\n x=1;\n name=a.pdf", ""},
        {"Content-Type: application/pdf; name=", ""},
        {"Content-Type: application/pdf", ""},
        {"Content-Type: audio/x; name=n", "[n]"},
        {"Content-Type: image/x; name=n", "[n]"},
        {"Content-Type: Video/x; name=n", "[n]"},
        {"Content-Type: applications; name=n", "[n]"},
        {"Content-Type: text/plain; name=n", ""},
        {"Content-Type: font/x; name=n", ""},
        {"Content-Type: application/applefile", "[]"},
        {"Content-Type: Application/AppleFile; name=n", "[n]"},
        {"Content-Type: message/rfc822; name=given.eml", "[given.eml]"},
    });
}

TEST(FilterAttachment, IsNamedByTheFirstParameterOfItsDisposition) {
    expectNames({
        {"Content-Disposition: attachment; filename=a.txt", "[a.txt]"},
        {"Content-Disposition: ATTACHMENT; FileName=a.txt", "[a.txt]"},
        {"Content-Disposition: inline; filename=a.txt", "[a.txt]"},
        {"Content-Disposition:attachment;filename=a.txt", "[a.txt]"},
        {"Content-Disposition: attachment;\n filename=a.txt; size=4", "[a.txt]"},
        {"Content-Disposition: attachment; filename=\"a;b c.txt\"", "[a;b c.txt]"},
        {"Content-Disposition: attachment; filename=\"\"\"q\"", "[q]"},
        {"Content-Disposition: attachment; filename=", "[]"},
        {"Content-Disposition: attachment; filename=\"\"", "[]"},
        {"Content-Disposition: attachment; size=100; filename=a.txt", ""},
        {"Content-Disposition: attachment", ""},
        {"Content-Disposition: attachments; filename=a.txt", ""},
        {"Content-Disposition: form-data; filename=a.txt", ""},
        {"Content-Disposition: form-data\nContent-Disposition: attachment; filename=a.txt", ""},
        {"Content-Type: application/pdf\nContent-Disposition: attachment; filename=a.pdf", "[a.pdf]"},
        {"Content-Type: text/plain; name=t\nContent-Disposition: attachment; filename=d", "[d]"},
        {"Content-Type: image/x; name=t\nContent-Disposition: attachment; filename=d", "[d]"},
        {"Content-Disposition: attachment; filename=d\nContent-Type: image/x; name=t", "[d]"},
        {"Content-Disposition: attachment; filename=\nContent-Type: image/x; name=t", "[t]"},
        {"Content-Type: image/x; name=t\nContent-Disposition: attachment; filename=", "[]"},
    });
}

TEST(FilterAttachment, NameIsCutAfter1023Bytes) {
    const std::string limit(1023, 'n');
    expectNames({
        {"Content-Type: image/x; name=" + limit, "[" + limit + "]"},
        {"Content-Type: image/x; name=" + limit + "o", "[" + limit + "]"},
        {"Content-Disposition: inline; filename=\"" + limit + "op\"", "[" + limit + "]"},
    });
}

TEST(FilterAttachment, FirstFieldOfEachKindCounts) {
    expectNames({
        {"Content-Type: text/plain\nContent-Type: image/x; name=n", ""},
        {"Content-Type: multipart/digest\nContent-Type: image/x; name=n", ""},
        {"Content-Type: image/x; name=n\nContent-Type: text/plain", "[n]"},
    });
    OpenFilter filter(
        withHeader("Content-Transfer-Encoding: base64\nContent-Transfer-Encoding: quoted-printable"));
    EXPECT_EQ(codeOf(filter.opened().transferEncoding), 4U);
}

TEST(FilterAttachment, SignatureIsNone) {
    expectNames({
        {"Content-Type: application/pkcs7-signature; name=smime.p7s", ""},
        {"Content-Type: application/x-pkcs7-signature; name=smime.p7s", ""},
        {"Content-Type: Application/X-PKCS7-Signature\nContent-Disposition: attachment; filename=s", ""},
        {"Content-Type: application/x-pkcs7-signatures; name=smime.p7s", "[smime.p7s]"},
    });
}

TEST(FilterAttachment, EncryptedPartIsAnOrdinaryOne) {
    expectNames({{"Content-Type: application/pkcs7-mime; name=smime.p7m", "[smime.p7m]"}});
    OpenFilter nested(withParts({"Content-Type: application/pkcs7-mime; name=smime.p7m"}));
    EXPECT_FALSE(nested.opened().encrypted);
    OpenFilter message(withHeader("Content-Type: Application/PKCS7-MIME; name=smime.p7m"));
    EXPECT_TRUE(message.opened().encrypted);
    EXPECT_EQ(emlGetFileNumber(message.context()), 0);
    OpenFilter other(withHeader("Content-Type: application/pkcs7-mimes; name=smime.p7m"));
    EXPECT_FALSE(other.opened().encrypted);
    EXPECT_EQ(emlGetFileNumber(other.context()), 1);
}

// KEPT: a delivery report leaves the content type as it was.
TEST(FilterAttachment, ReportIsNamedByItsIndexAndHasTheTypeBefore) {
    OpenFilter filter(withParts({"Content-Type: text/plain", "Content-Type: image/x; name=n",
                                 "Content-Type: message/delivery-status",
                                 "Content-Type: Message/Delivery-Status; name=x"}));
    EXPECT_EQ(namesOf(filter.opened()), "[n][zt1.tmp][zt2.tmp]");
    EXPECT_STREQ(filter.opened().parts.attachments.records[1].contentType, "image/x");
    EXPECT_STREQ(filter.opened().parts.attachments.records[2].contentType, "image/x");
}

TEST(FilterAttachment, RecordSaysWhereAndWhatItIs) {
    const std::string message = withParts(
        {"Content-Type: text/plain", "Content-Type: image/x; name=n\nContent-Transfer-Encoding: base64"});
    OpenFilter filter(message);
    ASSERT_EQ(emlGetFileNumber(filter.context()), 1);
    const EmlAttachment& attachment = filter.opened().parts.attachments.records[0];
    EXPECT_EQ(attachment.offset, message.rfind("content"));
    EXPECT_EQ(attachment.size, -1);
    EXPECT_EQ(codeOf(attachment.encoding), 4U);
    EXPECT_STREQ(attachment.contentType, "image/x");
    EXPECT_EQ(attachment.partIndex, 1U);
}

TEST(FilterEncoding, IsTheValueThatTheFieldBeginsWith) {
    struct Row {
        const char* value;
        uint32_t encoding;
    };
    const Row kRows[] = {
        {"7bit", 1},       {"7BIT", 1},   {"8bit", 2},       {"8Bits", 2},     {"quoted-printable", 5},
        {"base64", 4},     {"BASE64", 4}, {"base64; x", 4},  {"\t base64", 4}, {"Quoted-Printable", 5},
        {"binary", 0},     {"x7bit", 0},  {"\"base64\"", 0}, {"base 64", 0},   {"quoted printable", 0},
        {"x-uuencode", 0}, {"", 0},       {"3", 0},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(withHeader(std::string("Content-Transfer-Encoding:") + row.value));
        EXPECT_EQ(codeOf(filter.opened().transferEncoding), row.encoding) << row.value;
    }
}

TEST(FilterCharset, IsTheFirstOneOfTheMessage) {
    struct Row {
        std::string header;
        uint32_t charset;
        bool taken;
    };
    const Row kRows[] = {
        {"Content-Type: text/plain; charset=koi8-r", 6, true},
        {"Content-Type: text/plain;charset=\"koi8-r\"", 6, true},
        {"Content-Type: text/plain; charset=\"\"\"koi8-r\"", 6, true},
        {"Content-Type: text/plain;\n charset=koi8-r", 6, true},
        {"Content-Type: text/plain; format=flowed;\n charset=koi8-r", 6, true},
        {"Content-Type: text/plain; format=flowed; charset=koi8-r", 6, true},
        {"Content-Type: text/plain; chARSET=koi8-r", 6, true},
        {"Content-Type: text/plain; CHARSET=koi8-r", 7, false},
        {"Content-Type: text/plain; reach=1; charset=koi8-r", 7, false},
        {"Content-Type: text/plain\nX-Other: charset=koi8-r", 6, true},
        {"Content-Type: text/plain\nX-Archive: 1; charset=koi8-r", 7, false},
        {"Content-Type: text/plain\nX-Other: 1\nX-More: charset=koi8-r", 7, false},
        {"Content-Type: text/plain\n\ncharset=koi8-r", 6, true},
        {"Content-Type: text/plain; charset=koi8-r x", 6, true},
        {"Content-Type: text/plain; charset=koi8-r;x", 6, true},
        {"Content-Type: text/plain; charset=koi8-r\tx", 6, true},
        {"Content-Type: text/plain; charset=nonsense", 0, true},
        {"Content-Type: text/plain; charset=", 0, true},
        {"Content-Type: text/plain; charset=\"\"", 0, true},
        {"Content-Type: x; charset=koi8-r", 6, true},
        {"Content-Type: application/x; charset=koi8-r", 7, false},
        {"Content-Type: image/x; name=n; charset=koi8-r", 7, false},
        {"Content-Type: multipart/digest; charset=koi8-r", 6, true},
        {"X-Other: charset=koi8-r", 7, false},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(withHeader(row.header));
        EXPECT_EQ(filter.opened().charset, row.charset) << row.header;
        EXPECT_EQ(filter.opened().charsetTaken, row.taken) << row.header;
    }
}

TEST(FilterCharset, OtherThanTheFirstCountsForNothing) {
    OpenFilter two(withParts(
        {"Content-Type: text/plain; charset=koi8-r", "Content-Type: text/plain; charset=iso-8859-2"}));
    EXPECT_EQ(two.opened().charset, 6U);
    OpenFilter unknown(withParts(
        {"Content-Type: text/plain; charset=nonsense", "Content-Type: text/plain; charset=koi8-r"}));
    EXPECT_EQ(unknown.opened().charset, 0U);
    uint32_t extra = UINT32_MAX;
    EXPECT_EQ(emlCharSet(unknown.context(), &extra), 7U);
    EXPECT_EQ(extra, 0U);
    EXPECT_EQ(unknown.opened().charset, 7U);
}

TEST(FilterCharset, NameIsCutAfter63Characters) {
    OpenFilter filter(withHeader("Content-Type: text/plain; charset=" + std::string(100, 'u')));
    EXPECT_EQ(std::string(filter.opened().charsetName), std::string(63, 'u'));
    EXPECT_EQ(filter.opened().charset, 0U);
}

// The first "ch" is looked for from the type itself on.
TEST(FilterCharset, TypeWithTheTwoLettersHidesIt) {
    OpenFilter filter(withHeader("Content-Type: text/x-chemical; charset=koi8-r"));
    EXPECT_EQ(filter.opened().charset, 7U);
    EXPECT_FALSE(filter.opened().charsetTaken);
}

// A keyword counts only when something follows it in the buffer.
TEST(FilterKeyword, AtTheVeryEndOfTheMessageIsAbsent) {
    struct Row {
        std::string message;
        std::string type;
        uint32_t encoding;
        bool charsetTaken;
        int32_t attachments;
        uint32_t mime;
    };
    const Row kRows[] = {
        {"Mime-Version:", "", 0, false, 0, 0},
        {"Mime-Version: ", "", 0, false, 0, 1},
        {"Content-Type:", "", 0, false, 0, 0},
        {"Content-Type: ", "", 0, false, 0, 2},
        {"Content-Type: multipart/related", "multipart/related", 0, false, 0, 2},
        {"Content-Type: Message/Rfc822", "Message/Rfc822", 0, false, 0, 2},
        {"Content-Type: Message/Rfc822 ", "message/rfc822", 0, false, 1, 2},
        {"Content-Type: Multipart/Mixed", "Multipart/Mixed", 0, false, 0, 2},
        {"Content-Type: Multipart/Mixed ", "multipart/mixed", 0, false, 0, 2},
        {"Content-Type: image/x; name=", "image/x", 0, false, 0, 2},
        {"Content-Type: image/x; name=n", "image/x", 0, false, 1, 2},
        {"Content-Disposition: attachment; filename=", "", 0, false, 0, 0},
        {"Content-Disposition: attachment; filename=\n", "", 0, false, 1, 0},
        {"Content-Transfer-Encoding: base64\n", "", 4, false, 0, 0},
        {"Content-Type: text/plain; charset=\n", "text/plain", 0, true, 0, 2},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(row.message);
        ASSERT_NE(filter.context(), nullptr) << row.message;
        EXPECT_EQ(filter.opened().contentType, row.type) << row.message;
        EXPECT_EQ(codeOf(filter.opened().transferEncoding), row.encoding) << row.message;
        EXPECT_EQ(filter.opened().charsetTaken, row.charsetTaken) << row.message;
        EXPECT_EQ(emlGetFileNumber(filter.context()), row.attachments) << row.message;
        EXPECT_EQ(filter.opened().mimeIndicator, row.mime) << row.message;
    }
}

TEST(FilterKeyword, EncodingAtTheVeryEndOfTheMessageIsAbsent) {
    for (const char* const value : {"7bit", "8bit", "base64", "quoted-printable"}) {
        OpenFilter filter(std::string("Content-Transfer-Encoding: ") + value);
        EXPECT_EQ(codeOf(filter.opened().transferEncoding), 0U) << value;
    }
}

TEST(FilterKeyword, CharsetAtTheVeryEndOfTheMessageIsAbsent) {
    OpenFilter filter("Content-Type: text/plain; charset=");
    EXPECT_FALSE(filter.opened().charsetTaken);
    EXPECT_EQ(filter.opened().charset, 7U);
}

TEST(FilterHeaderBlock, EndsAtTheFirstEmptyLine) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r"}) {
        const std::string header = "Subject: x" + lineEnd + "Content-Type: text/plain" + lineEnd;
        OpenFilter filter(header + lineEnd + "Content-Type: image/x; name=n" + lineEnd);
        EXPECT_EQ(filter.opened().headerLength, static_cast<int32_t>(header.size())) << escaped(lineEnd);
        EXPECT_EQ(emlGetFileNumber(filter.context()), 0) << escaped(lineEnd);
    }
}

TEST(FilterHeaderBlock, WithoutAnEmptyLineHasNoLength) {
    OpenFilter filter("Subject: x\r\nContent-Type: text/plain\r\n");
    EXPECT_EQ(filter.opened().headerLength, 0);
}

// The first line is read before anything is treated as an empty line.
TEST(FilterHeaderBlock, EmptyFirstLineDoesNotEndIt) {
    OpenFilter filter("\r\nSubject: x\r\n\r\ntext\r\n");
    EXPECT_EQ(filter.opened().headerLength, 14);
}

// After all three fields of a part only a line that begins as line ends of the message do ends the header.
TEST(FilterHeaderBlock, BehindItsThreeFieldsLinesArePassedUnread) {
    const std::string top = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n";
    const std::string two = "Content-Type: image/x; name=n\r\nContent-Transfer-Encoding: base64\r\n";
    const std::string three = two + "Content-Disposition: inline\r\n";
    const std::string rest = "Mime-Version: 1.0\r\n\nX-Other: 1\r\n\r\ncontent\r\n--b--\r\n";
    OpenFilter shorter(top + two + rest);
    EXPECT_EQ(shorter.opened().parts.attachments.records[0].offset, (top + two).size() + 20);
    EXPECT_EQ(shorter.opened().mimeIndicator, 1U);
    OpenFilter longer(top + three + rest);
    EXPECT_EQ(longer.opened().parts.attachments.records[0].offset, (top + three + rest).find("content"));
    EXPECT_EQ(longer.opened().mimeIndicator, 4U);
}

// KEPT: what a header says belongs to one input buffer.
TEST(FilterHeaderBlock, BeginsAnewInEveryInputBuffer) {
    const std::string filler = repeated("X-Filler: 0123456789012345678901234567890123456789\r\n", 100);
    const std::string fields = "Content-Transfer-Encoding: base64\r\nContent-Type: image/x; name=n\r\n";
    const std::string end = "\r\nsome text\r\n";

    OpenFilter first(fields + filler + end);
    EXPECT_EQ(first.opened().headerLength, static_cast<int32_t>((fields + filler).size()));
    EXPECT_EQ(codeOf(first.opened().transferEncoding), 0U);
    ASSERT_EQ(emlGetFileNumber(first.context()), 1);
    EXPECT_EQ(codeOf(first.opened().parts.attachments.records[0].encoding), 4U);
    EXPECT_LT(first.opened().parts.attachments.records[0].offset, 4097U);

    OpenFilter last(filler + fields + end);
    EXPECT_EQ(codeOf(last.opened().transferEncoding), 4U);
    ASSERT_EQ(emlGetFileNumber(last.context()), 1);
    EXPECT_EQ(last.opened().parts.attachments.records[0].offset, (filler + fields).size() + 2);

    // Two records without a part: the message counts as empty.
    OpenFilter both(fields + filler + fields + end);
    EXPECT_EQ(both.context(), nullptr);
    EXPECT_EQ(both.result(), EML_EMPTY_MESSAGE);
}

TEST(FilterHeaderBlock, CountsTheFieldsOfMime) {
    EXPECT_EQ(OpenFilter(withHeader("Mime-Version: 1.0\nContent-Type: text/plain")).opened().mimeIndicator,
              3U);
    EXPECT_EQ(OpenFilter(withHeader("Content-Type: text/plain\nmime-version: 1.0")).opened().mimeIndicator,
              1U);
    EXPECT_EQ(OpenFilter(withParts({"Content-Type: text/plain", "Content-Type: x"})).opened().mimeIndicator,
              6U);
}

}  // namespace
}  // namespace eml::test
