// The fields of a header, for the host.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

const char* const kMessage =
    "Subject: one\r\n two\r\nX-A : =?utf-8?q?=C3=A9?= \r\njunk\r\nDate: Tue, 4 Mar 2025 09:15:22 +0100\r\n"
    "References: <a@b>\r\n <c@d>\r\nContent-Type: multipart/mixed; boundary=b; Charset=utf-8\r\n"
    "To: A <a@b>, G: c@d;\r\nsubject: again\r\n\r\n--b\r\nX-Part: 1\r\n\r\nbody\r\n--b--\r\n";

TEST(FieldCalls, FieldsInOrderWithTheirSpans) {
    const std::string message = kMessage;
    OpenedMime opened(message);
    uint32_t count = 0;
    ASSERT_EQ(emlMimeFieldCount(opened.context(), 0, &count), EML_OK);
    ASSERT_EQ(count, 8U);
    const char* const names[] = {"Subject",    "X-A",          nullptr, "Date",
                                 "References", "Content-Type", "To",    "subject"};
    std::string all;
    for (uint32_t i = 0; i < count; ++i) {
        EmlMimeField field{};
        ASSERT_EQ(emlMimeGetField(opened.context(), 0, i, &field), EML_OK);
        if (names[i] == nullptr) {
            EXPECT_EQ(field.name.text, nullptr) << "a line that is no field";
            EXPECT_EQ(viewOf(field.raw), "junk");
        } else {
            EXPECT_EQ(viewOf(field.name), names[i]);
        }
        all += at(field.span, message);
    }
    const EmlMimePart root = opened.part(0);
    EXPECT_EQ(all, at(root.header, message)) << "the spans make up the header";
    EmlMimeField field{};
    EXPECT_EQ(emlMimeGetField(opened.context(), 0, 8, &field), EML_NO_SUB_FILE);
    EXPECT_EQ(emlMimeGetField(opened.context(), 9, 0, &field), EML_NO_SUB_FILE);
    ASSERT_EQ(emlMimeGetField(opened.context(), 0, 0, &field), EML_OK);
    EXPECT_EQ(viewOf(field.raw), " one\r\n two");
}

TEST(FieldCalls, FindGoesOnFromAnIndex) {
    OpenedMime opened(kMessage);
    uint32_t found = 0;
    ASSERT_EQ(emlMimeFindField(opened.context(), 0, "SUBJECT", 0, &found), EML_OK);
    EXPECT_EQ(found, 0U);
    ASSERT_EQ(emlMimeFindField(opened.context(), 0, "SUBJECT", 1, &found), EML_OK);
    EXPECT_EQ(found, 7U);
    ASSERT_EQ(emlMimeFindField(opened.context(), 0, "SUBJECT", 8, &found), EML_OK);
    EXPECT_EQ(found, EML_MIME_NONE);
    ASSERT_EQ(emlMimeFindField(opened.context(), 0, "Cc", 0, &found), EML_OK);
    EXPECT_EQ(found, EML_MIME_NONE);
    EXPECT_EQ(emlMimeFindField(opened.context(), 7, "Cc", 0, &found), EML_NO_SUB_FILE);
}

TEST(FieldCalls, TextIsUnfoldedAndDecoded) {
    OpenedMime opened(kMessage);
    EXPECT_EQ(opened.field(0, "subject"), "one two");
    EXPECT_EQ(opened.field(0, "x-a"), "\xC3\xA9");
    EXPECT_EQ(opened.field(1, "x-part"), "1");
    EXPECT_EQ(opened.field(1, "subject"), "(none)");
    EXPECT_EQ(opened.field(0, "subject"), "one two") << "the other header is read again";
}

uint32_t indexOf(OpenedMime& opened, const char* name) {
    uint32_t index = EML_MIME_NONE;
    EXPECT_EQ(emlMimeFindField(opened.context(), 0, name, 0, &index), EML_OK);
    return index;
}

TEST(FieldCalls, Addresses) {
    OpenedMime opened(kMessage);
    const EmlMimeAddress* list = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(emlMimeFieldAddresses(opened.context(), 0, indexOf(opened, "to"), &list, &count), EML_OK);
    ASSERT_EQ(count, 2U);
    EXPECT_EQ(viewOf(list[0].name), "A");
    EXPECT_EQ(viewOf(list[0].address), "a@b");
    EXPECT_EQ(list[0].group.text, nullptr);
    EXPECT_EQ(list[1].name.text, nullptr);
    EXPECT_EQ(viewOf(list[1].address), "c@d");
    EXPECT_EQ(viewOf(list[1].group), "G");
}

TEST(FieldCalls, Dates) {
    OpenedMime opened(kMessage);
    EmlMimeDate date{};
    ASSERT_EQ(emlMimeFieldDate(opened.context(), 0, indexOf(opened, "date"), &date), EML_OK);
    EXPECT_EQ(date.seconds, 1741076122);
    EXPECT_EQ(date.zoneMinutes, 60);
    EXPECT_EQ(date.flags, EML_MIME_DATE_VALID);
}

TEST(FieldCalls, Ids) {
    OpenedMime opened(kMessage);
    const EmlMimeText* ids = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(emlMimeFieldIds(opened.context(), 0, indexOf(opened, "references"), &ids, &count), EML_OK);
    ASSERT_EQ(count, 2U);
    EXPECT_EQ(viewOf(ids[0]), "a@b");
    EXPECT_EQ(viewOf(ids[1]), "c@d");
}

TEST(FieldCalls, Parameters) {
    OpenedMime opened(kMessage);
    EmlMimeText value{};
    const EmlMimeParameter* list = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(
        emlMimeFieldParameters(opened.context(), 0, indexOf(opened, "content-type"), &value, &list, &count),
        EML_OK);
    EXPECT_EQ(viewOf(value), "multipart/mixed");
    ASSERT_EQ(count, 2U);
    EXPECT_EQ(viewOf(list[0].name), "boundary");
    EXPECT_EQ(viewOf(list[0].value), "b");
    EXPECT_EQ(viewOf(list[1].name), "charset");
    EXPECT_EQ(viewOf(list[1].value), "utf-8");
}

TEST(FieldCalls, AHeaderThatCannotBeReadAgain) {
    OpenedMime opened(kMessage);
    uint32_t count = 0;
    opened.host().journal().fail(Entry::kInputSeek, {1, true});
    EXPECT_EQ(emlMimeFieldCount(opened.context(), 0, &count), EML_OBJECT_FAILED);
}

}  // namespace
}  // namespace eml::test
