// What the host is told about a part.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

TEST(PartRecords, FieldsOfTheRecord) {
    const std::string message =
        "Content-Type: multipart/mixed; boundary=b\n\n"
        "--b\nContent-Type: TEXT/Html; Charset=\"ISO-8859-1\"; format=flowed; delsp=YES\n"
        "Content-Transfer-Encoding: Quoted-Printable (x)\nContent-Disposition: Inline; filename=\"a "
        "b.html\"\n"
        "Content-ID: <id@x>\nContent-Location: http://a/\n b\nContent-Description: "
        "=?utf-8?q?d=C3=A9?=\n\nbody\n"
        "--b--\n";
    OpenedMime opened(message);
    const EmlMimePart root = opened.part(0);
    EXPECT_EQ(root.parent, EML_MIME_NONE);
    EXPECT_EQ(root.firstChild, 1U);
    EXPECT_EQ(root.nextSibling, EML_MIME_NONE);
    EXPECT_EQ(root.childCount, 1U);
    EXPECT_EQ(root.flags, EML_MIME_PART_ROOT | EML_MIME_PART_MULTIPART);
    EXPECT_EQ(root.ending, EML_MIME_ENDING_FILE);
    EXPECT_EQ(root.encoding, EML_MIME_ENCODING_NONE);
    EXPECT_EQ(root.name.text, nullptr);

    const EmlMimePart part = opened.part(1);
    EXPECT_EQ(part.parent, 0U);
    EXPECT_EQ(part.firstChild, EML_MIME_NONE);
    EXPECT_EQ(part.ordinal, 1U);
    EXPECT_EQ(part.depth, 1U);
    EXPECT_EQ(part.message, 0U);
    EXPECT_EQ(part.ending, EML_MIME_ENDING_CLOSING);
    EXPECT_EQ(part.encoding, EML_MIME_ENCODING_QUOTED_PRINTABLE);
    EXPECT_EQ(part.dispositionKind, EML_MIME_DISPOSITION_INLINE);
    EXPECT_EQ(part.flags, EML_MIME_PART_NAMED | EML_MIME_PART_FLOWED | EML_MIME_PART_DELSP);
    EXPECT_EQ(viewOf(part.type), "text");
    EXPECT_EQ(viewOf(part.subtype), "html");
    EXPECT_EQ(viewOf(part.charset), "ISO-8859-1");
    EXPECT_EQ(viewOf(part.encodingText), "Quoted-Printable");
    EXPECT_EQ(viewOf(part.disposition), "inline");
    EXPECT_EQ(viewOf(part.name), "a b.html");
    EXPECT_EQ(viewOf(part.contentId), "id@x");
    EXPECT_EQ(viewOf(part.location), "http://a/b");
    EXPECT_EQ(viewOf(part.description), "d\xC3\xA9");
    EXPECT_EQ(at(part.body, message), "body");
    EXPECT_TRUE(at(part.header, message).starts_with("Content-Type: TEXT"));
}

TEST(PartRecords, OnlyTheRecordSizeIsWritten) {
    OpenedMime opened("a: b\n\nx");
    EmlMimePart part{};
    part.depth = 77;
    ASSERT_EQ(emlMimeGetPart(opened.context(), 0, &part, offsetof(EmlMimePart, depth)), EML_OK);
    EXPECT_EQ(part.parent, EML_MIME_NONE);
    EXPECT_EQ(part.depth, 77U);
    EXPECT_EQ(emlMimeGetPart(opened.context(), 1, &part, sizeof part), EML_NO_SUB_FILE);
    EXPECT_EQ(emlMimeGetPart(nullptr, 0, &part, sizeof part), EML_INVALID_ARGUMENT);
}

TEST(PartRecords, SignedSpanIsTheFirstPartWithItsHeader) {
    const std::string message =
        "Content-Type: multipart/signed; protocol=\"application/pgp-signature\"; boundary=s\r\n\r\n--s\r\n"
        "Content-Type: text/plain\r\n\r\nsigned text\r\n\r\n--s\r\nContent-Type: "
        "application/pgp-signature\r\n\r\nsig\r\n"
        "--s--\r\n";
    OpenedMime opened(message);
    const EmlMimePart root = opened.part(0);
    EXPECT_EQ(root.protection, EML_MIME_PGP_SIGNED);
    EXPECT_EQ(at(root.signedSpan, message), "Content-Type: text/plain\r\n\r\nsigned text\r\n");
}

TEST(PartRecords, SignedSpanOfAMultipartHoldsItsClosingDelimiter) {
    const std::string signedPart =
        "Content-Type: multipart/mixed; boundary=i\r\n\r\n--i\r\n\r\none\r\n--i--\r\n";
    const std::string message = "Content-Type: multipart/signed; protocol=x/y; boundary=s\r\n\r\n--s\r\n" +
                                signedPart + "\r\n--s\r\n\r\nsig\r\n--s--\r\n";
    OpenedMime opened(message);
    const EmlMimePart root = opened.part(0);
    EXPECT_EQ(root.protection, EML_MIME_SIGNED_OTHER);
    EXPECT_EQ(at(root.signedSpan, message), signedPart);
}

TEST(PartNames, AreMadeUpFromPlaceAndType) {
    OpenedMime opened(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/calendar\n\nx\n"
        "--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\nContent-Type: image/jpeg\n\nx\n--c\n"
        "Content-Type: application/x-nobody-knows\n\nx\n--c--\n"
        "--b\nContent-Type: message/rfc822\n\nContent-Type: multipart/mixed; boundary=d\n\n--d\n"
        "Content-Type: application/pdf; name=\"n.pdf\"\n\nx\n--d\nContent-Type: "
        "application/pdf\n\nx\n--d--\n--b--\n");
    const char* const names[] = {"part-1.txt",    "part-1.ics", "part-2.txt", "part-2.1.jpg", "part-2.2.bin",
                                 "message-3.eml", "part-3.txt", "n.pdf",      "part-3.2.pdf"};
    ASSERT_EQ(emlMimePartCount(opened.context()), std::size(names));
    for (uint32_t i = 0; i < std::size(names); ++i) EXPECT_EQ(opened.name(i), names[i]);
    EmlMimeText name{};
    EXPECT_EQ(emlMimeGetName(opened.context(), 9, &name), EML_NO_SUB_FILE);
}

TEST(ContentIds, TheRelatedGroupComesFirst) {
    OpenedMime opened(
        "Content-Type: multipart/mixed; boundary=m\n\n--m\nContent-ID: <a>\n\nx\n"
        "--m\nContent-Type: multipart/related; boundary=r\n\n--r\nContent-Type: text/html\n\nx\n"
        "--r\nContent-ID: <a>\n\ny\n--r--\n--m\nContent-ID: <c>\n\nz\n--m--\n");
    uint32_t found = 0;
    ASSERT_EQ(emlMimeFindContentId(opened.context(), 3, "a", &found), EML_OK);
    EXPECT_EQ(found, 4U) << "from the HTML part";
    ASSERT_EQ(emlMimeFindContentId(opened.context(), 1, "a", &found), EML_OK);
    EXPECT_EQ(found, 1U) << "from outside the group";
    ASSERT_EQ(emlMimeFindContentId(opened.context(), 3, "c", &found), EML_OK);
    EXPECT_EQ(found, 5U) << "a part outside the group serves when the group has none";
    ASSERT_EQ(emlMimeFindContentId(opened.context(), 3, "d", &found), EML_OK);
    EXPECT_EQ(found, EML_MIME_NONE);
    EXPECT_EQ(emlMimeFindContentId(opened.context(), 6, "a", &found), EML_NO_SUB_FILE);
}

}  // namespace
}  // namespace eml::test
