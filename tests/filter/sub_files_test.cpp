// The filter's sub-files: numbers, names and sizes.
#include <gtest/gtest.h>

#include <cstring>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

constexpr uint32_t kRoot = EML_OPEN_ROOT_FOLDER;
constexpr uint32_t kFolder = EML_OPEN_ATTACHMENTS_FOLDER;

// A text and two attachments, of which the first has 9 bytes and the second 11.
std::string twoAttachments() {
    return crlf(
        "Subject: hello\nDate: Tue, 5 Mar 2024 14:07:09\nContent-Type: multipart/mixed; boundary=b\n\n"
        "--b\nContent-Type: text/plain; charset=koi8-r\n\ntext\n"
        "--b\nContent-Type: image/x; name=a.png\n\n123456789\n"
        "--b\nContent-Type: image/x; name=\"b c.png\"\n\n12345678901\n--b--\n");
}

using Numbers = std::vector<uint32_t>;

TEST(FilterSubFile, IsNumberedWithAndWithoutTheRootFolder) {
    struct Row {
        uint32_t flags;
        int32_t number;
        uint32_t kind;
        const char* name;
        int32_t parent;
        Numbers children;
    };
    const Row kRows[] = {
        {0, 0, 0, "hello.mail", -1, {1, 2}},
        {0, 1, 1, "a.png", 0, {}},
        {0, 2, 1, "b c.png", 0, {}},
        {kRoot, 0, 3, "root/", -1, {1}},
        {kRoot, 1, 0, "root/hello.mail", 0, {2, 3}},
        {kRoot, 2, 1, "root/a.png", 1, {}},
        {kRoot, 3, 1, "root/b c.png", 1, {}},
        {kFolder, 0, 0, "hello.mail", -1, {1, 2}},
        {kFolder, 1, 1, "Attachments/a.png", 0, {}},
        {kRoot | kFolder, 0, 3, "root/", -1, {1}},
        {kRoot | kFolder, 1, 0, "root/hello.mail", 0, {2, 3}},
        {kRoot | kFolder, 3, 1, "Attachments/b c.png", 1, {}},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(std::to_string(row.flags) + ", " + std::to_string(row.number));
        OpenFilter filter(twoAttachments(), row.flags);
        const SubFile file = filter.describe(row.number);
        ASSERT_EQ(file.result, EML_OK);
        EXPECT_EQ(file.info.kind, row.kind);
        EXPECT_EQ(file.name, row.name);
        EXPECT_EQ(file.info.parent, row.parent);
        EXPECT_EQ(file.children, row.children);
        if (row.kind != EML_KIND_ATTACHMENT) {
            EXPECT_EQ(file.info.childCount, row.children.size());
        }
        for (const uint32_t word : file.info.hostOwned) EXPECT_EQ(word, kUntouched);
    }
}

// KEPT: a host may widen a name in place, to four bytes for each character.
TEST(FilterSubFile, NameBlockHasFourBytesForEachCharacterAndEightMore) {
    for (const uint32_t flags : {0U, kRoot, kFolder, kRoot | kFolder}) {
        OpenFilter filter(twoAttachments(), flags);
        const int32_t count = emlGetFileNumber(filter.context()) + (flags & kRoot ? 2 : 1);
        for (int32_t number = 0; number < count; ++number) {
            SCOPED_TRACE(std::to_string(flags) + ", " + std::to_string(number));
            EmlSubFileInfo info{};
            ASSERT_EQ(emlGetSubFileInfoEx(filter.context(), number, &info, &filter.host().record()), EML_OK);
            EXPECT_EQ(filter.host().recordHeap().roomAt(info.name), 4 * std::strlen(info.name) + 8);
            filter.host().recordHeap().give(info.name);
            if (info.children != nullptr) filter.host().recordHeap().give(info.children);
        }
    }
}

TEST(FilterSubFile, SizeIsThatOfWhatStandsInTheMessage) {
    for (const uint32_t flags : {0U, kRoot}) {
        OpenFilter filter(twoAttachments(), flags);
        const int32_t message = flags != 0 ? 1 : 0;
        EXPECT_EQ(filter.describe(message).info.size, static_cast<int32_t>(twoAttachments().size()));
        EXPECT_EQ(filter.opened().parts.attachments.records[0].size, -1);
        EXPECT_EQ(filter.describe(message + 1).info.size, 9);
        EXPECT_EQ(filter.opened().parts.attachments.records[0].size, 9);
        EXPECT_EQ(filter.describe(message + 2).info.size, 11);
        if (flags != 0) {
            EXPECT_EQ(static_cast<uint32_t>(filter.describe(0).info.size), kUntouched);
        }
    }
}

TEST(FilterSubFile, MessageHasACharsetAndADate) {
    OpenFilter filter(twoAttachments());
    const SubFile message = filter.describe(0, 0xFFFFFFFF);
    EXPECT_EQ(message.info.charset, 6U);
    EXPECT_EQ(message.info.charsetExtra, 0U);
    EXPECT_NE(message.info.date[0], kUntouched);
    EXPECT_EQ(message.info.flags, 0xFFFFFFFE);
    EXPECT_EQ(filter.describe(0, 0).info.flags, 0U);
    const SubFile attachment = filter.describe(1, 0x55);
    EXPECT_EQ(attachment.info.charset, kUntouched);
    EXPECT_EQ(attachment.info.charsetExtra, kUntouched);
    EXPECT_EQ(attachment.info.date[0], kUntouched);
    EXPECT_EQ(attachment.info.flags, 0x55U);
    OpenFilter root(twoAttachments(), kRoot);
    EXPECT_EQ(root.describe(0, 0x55).info.flags, 0U);
    EXPECT_EQ(root.describe(0).info.charset, kUntouched);
    OpenFilter unknown("Content-Type: text/plain; charset=nonsense\r\n\r\ntext\r\n");
    EXPECT_EQ(unknown.describe(0).info.charset, 7U);
    EXPECT_EQ(unknown.opened().charset, 7U);
}

TEST(FilterSubFile, EncryptedMessageHasNoChildren) {
    const std::string message =
        "Content-Type: application/pkcs7-mime; name=smime.p7m\r\n"
        "Content-Disposition: attachment; filename=smime.p7m\r\n\r\nTWFu\r\n";
    OpenFilter filter(message);
    EXPECT_EQ(emlGetFileNumber(filter.context()), 1);
    const SubFile file = filter.describe(0, 1);
    EXPECT_EQ(file.result, EML_OK);
    EXPECT_EQ(file.info.flags, 2U);
    EXPECT_EQ(file.info.childCount, 0U);
    EXPECT_EQ(file.name, "zteml.mail");
    EXPECT_EQ(filter.describe(1).result, EML_INVALID_ARGUMENT);
    OpenFilter root(message, kRoot);
    EXPECT_EQ(root.describe(0).children, Numbers{1});
    EXPECT_EQ(root.describe(1).info.flags, 2U);
    EXPECT_EQ(root.describe(1).info.parent, 0);
    EXPECT_EQ(root.describe(1).name, "root/zteml.mail");
    EXPECT_EQ(root.describe(2).result, EML_INVALID_ARGUMENT);
}

TEST(FilterSubFile, WithoutAttachmentsNoArrayIsMade) {
    OpenFilter filter("Subject: s\r\n\r\ntext\r\n");
    const SubFile file = filter.describe(0);
    EXPECT_EQ(file.info.childCount, 0U);
    EmlSubFileInfo untouched;
    std::memset(&untouched, 0xA5, sizeof untouched);
    EXPECT_EQ(file.info.children, untouched.children);
}

TEST(FilterSubFile, NumberOutOfRangeIsAnInvalidArgument) {
    struct Row {
        uint32_t flags;
        int32_t number;
    };
    for (const Row row : {Row{0, -1}, {0, 3}, {0, INT32_MAX}, {0, INT32_MIN}, {kRoot, -1}, {kRoot, 4}}) {
        OpenFilter filter(twoAttachments(), row.flags);
        const SubFile file = filter.describe(row.number);
        EXPECT_EQ(file.result, EML_INVALID_ARGUMENT) << row.number;
        EXPECT_FALSE(file.hasName);
        EXPECT_EQ(file.info.kind, kUntouched);
    }
}

TEST(FilterSubFile, IncompleteArgumentsAreInvalid) {
    OpenFilter filter(twoAttachments());
    EmlSubFileInfo info{};
    EmlHostRecord& record = filter.host().record();
    EmlHostRecord without = record;
    without.allocator = nullptr;
    EXPECT_EQ(emlGetSubFileInfoEx(nullptr, 0, &info, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileInfoEx(filter.context(), 0, nullptr, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileInfoEx(filter.context(), 0, &info, nullptr), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileInfoEx(filter.context(), 0, &info, &without), EML_INVALID_ARGUMENT);
}

TEST(FilterSubFile, HalfWayThroughAConversionTheMessageHasItsDefaultName) {
    OpenFilter filter("Subject: s\r\nDate: Tue, 5 Mar 2024 14:07:09\r\n\r\n" + std::string(9000, 't'));
    std::string buffer(500, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    ASSERT_EQ(emlFillBuffer(filter.context(), buffer.data(), &size, &progress, 500), EML_OK);
    const SubFile file = filter.describe(0);
    EXPECT_EQ(file.result, EML_OK);
    EXPECT_EQ(file.name, "zteml.mail");
    EXPECT_EQ(file.info.date[0], kUntouched);
}

TEST(FilterSubFile, PartThatIsNotRecordedHasNoSize) {
    // A nested attachment in a part of type multipart/mixed is found, its part is not always recorded.
    OpenFilter filter(twoAttachments());
    filter.opened().parts.attachments.records[0].partIndex = 1000;
    EXPECT_EQ(filter.describe(1).info.size, 0);
    EXPECT_EQ(filter.describe(1).result, EML_OK);
    const FilterExtracted content = filter.extract(1);
    EXPECT_EQ(content.result, EML_OK);
    EXPECT_FALSE(content.opened);
}

TEST(FilterAttachmentInfo, TakesTheIndexOfTheAttachment) {
    for (const uint32_t flags : {0U, kRoot, kRoot | kFolder}) {
        OpenFilter filter(twoAttachments(), flags);
        EmlAttachmentInfo info;
        std::memset(&info, 0xA5, sizeof info);
        ASSERT_EQ(emlGetSubFileInfo(filter.context(), 0, &info), EML_OK);
        EXPECT_STREQ(info.name, "a.png");
        EXPECT_EQ(info.size, 9);
        EXPECT_EQ(info.zero1, 0U);
        for (const uint32_t word : info.zero2) EXPECT_EQ(word, 0U);
        for (const uint32_t word : info.hostOwned) EXPECT_EQ(word, kUntouched);
        EXPECT_EQ(filter.opened().parts.attachments.records[0].size, 9);
        ASSERT_EQ(emlGetSubFileInfo(filter.context(), 1, &info), EML_OK);
        EXPECT_STREQ(info.name, "b c.png");
        EXPECT_EQ(info.size, 11);
        EXPECT_EQ(emlGetSubFileInfo(filter.context(), 2, &info), EML_OBJECT_FAILED);
        EXPECT_EQ(emlGetSubFileInfo(filter.context(), UINT32_MAX, &info), EML_OBJECT_FAILED);
        EXPECT_EQ(emlGetSubFileInfo(nullptr, 0, &info), EML_OBJECT_FAILED);
        EXPECT_EQ(emlGetSubFileInfo(filter.context(), 0, nullptr), EML_OBJECT_FAILED);
    }
    OpenFilter none("Subject: s\r\n\r\ntext\r\n");
    EmlAttachmentInfo info;
    EXPECT_EQ(emlGetSubFileInfo(none.context(), 0, &info), EML_OBJECT_FAILED);
}

}  // namespace
}  // namespace eml::test
