// Sub-files as the host sees them: numbers, folders, and the fields that are written for each kind.
#include <gtest/gtest.h>

#include <cstring>

#include "support/sections.h"

namespace eml::test {
namespace {

const std::string kTwoFiles = multipart("mixed",
                                        "--b\nContent-Type: text/plain; charset=utf-8\n\nplain text\n"
                                        "--b\nContent-Type: image/png; name=a.png\n\n12345\n"
                                        "--b\nContent-Type: message/rfc822\n\nSubject: inner\n\nx\n--b--\n");

using Numbers = std::vector<uint32_t>;

TEST(Listing, MessageAndItsAttachments) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.subFileCount(), 3U);
    const SubFile message = opened.describe(0);
    EXPECT_EQ(message.result, EML_OK);
    EXPECT_EQ(message.info.kind, EML_KIND_MESSAGE);
    EXPECT_EQ(message.info.size, 10) << "the plain body's";
    EXPECT_EQ(message.info.flags, 0U);
    EXPECT_EQ(message.info.charset, 53U);
    EXPECT_EQ(message.info.parent, -1);
    EXPECT_EQ(message.children, (Numbers{1, 2}));
    const SubFile image = opened.describe(1);
    EXPECT_EQ(image.info.kind, EML_KIND_ATTACHMENT);
    EXPECT_EQ(image.name, "a.png");
    EXPECT_EQ(image.info.size, 5);
    EXPECT_EQ(image.info.flags, 0U);
    EXPECT_EQ(image.info.parent, 0);
    EXPECT_EQ(opened.describe(2).name, "inner.eml");
    EXPECT_EQ(opened.describe(2).info.flags, 8U);
}

TEST(Listing, RootFolderMovesEveryNumberUp) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    EXPECT_EQ(opened.subFileCount(), 4U);
    const SubFile folder = opened.describe(0, 0xFF);
    EXPECT_EQ(folder.info.kind, EML_KIND_FOLDER);
    EXPECT_EQ(folder.name, "root/");
    EXPECT_EQ(folder.info.parent, -1);
    EXPECT_EQ(folder.info.flags, 0U) << "the folder's flags are set, not added to";
    EXPECT_EQ(folder.children, Numbers{1});
    const SubFile message = opened.describe(1);
    EXPECT_EQ(message.name.substr(0, 5), "root/");
    EXPECT_EQ(message.info.parent, 0);
    EXPECT_EQ(message.children, (Numbers{2, 3}));
    EXPECT_EQ(opened.describe(2).name, "root/a.png");
    EXPECT_EQ(opened.describe(2).info.parent, 1);
    EXPECT_EQ(opened.describe(3).name, "root/inner.eml");
}

TEST(Listing, AttachmentsFolderIsAPrefixOfTheNames) {
    const struct {
        uint32_t flags;
        int32_t number;
        const char* name;
    } rows[] = {{0, 1, "a.png"},
                {EML_OPEN_ATTACHMENTS_FOLDER, 1, "Attachments/a.png"},
                {EML_OPEN_ROOT_FOLDER, 2, "root/a.png"},
                {EML_OPEN_ATTACHMENTS_FOLDER | EML_OPEN_ROOT_FOLDER, 2, "Attachments/a.png"}};
    for (const auto& row : rows) {
        RecordingHost host(kTwoFiles);
        OpenedMessage opened(host, row.flags);
        EXPECT_EQ(opened.describe(row.number).name, row.name) << row.flags;
    }
}

TEST(Listing, AttachmentsFolderIsNoPrefixOfTheMessage) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host, EML_OPEN_ATTACHMENTS_FOLDER);
    EXPECT_EQ(opened.describe(0).name.find("Attachments/"), std::string::npos);
}

TEST(Listing, NumbersOutOfRange) {
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        RecordingHost host(kTwoFiles);
        OpenedMessage opened(host, flags);
        const auto count = static_cast<int32_t>(opened.subFileCount());
        for (const int32_t number : {-1, INT32_MIN, count, count + 1, INT32_MAX}) {
            const SubFile file = opened.describe(number, kUntouched);
            EXPECT_EQ(file.result, EML_INVALID_ARGUMENT) << number;
            EXPECT_EQ(file.info.kind, kUntouched) << "the record is left alone";
            EXPECT_FALSE(file.hasName);
        }
    }
}

TEST(Listing, FieldsThatAKindDoesNotHaveAreLeftAlone) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host);
    const SubFile file = opened.describe(1);
    EXPECT_EQ(file.info.charset, kUntouched);
    EXPECT_EQ(file.info.date[0], kUntouched);
    EXPECT_EQ(file.info.date[1], kUntouched);
    EXPECT_EQ(file.info.childCount, kUntouched);
    EXPECT_TRUE(file.children.empty());
    for (int32_t number = 0; number < 3; ++number) {
        const SubFile any = opened.describe(number);
        EXPECT_EQ(any.info.charsetExtra, kUntouched);
        for (const uint32_t word : any.info.hostOwned) EXPECT_EQ(word, kUntouched);
    }
}

// KEPT: the flags of the caller's record stay, save the lowest one on the message.
TEST(Listing, FlagsAreAddedToWhatTheRecordHeld) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.describe(0, 0xF1).info.flags, 0xF0U);
    EXPECT_EQ(opened.describe(1, 0xF1).info.flags, 0xF1U);
    EXPECT_EQ(opened.describe(2, 0xF1).info.flags, 0xF9U);
}

TEST(Listing, EncryptedMessageSaysSo) {
    RecordingHost host(crlf("Content-Type: application/pkcs7-mime\n\nTWFu\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.describe(0, 0x11).info.flags, 0x12U);
}

TEST(Listing, MessageWithoutAttachmentsHasNoChildren) {
    RecordingHost host("\r\ntext");
    OpenedMessage opened(host);
    const SubFile file = opened.describe(0);
    EXPECT_EQ(file.info.childCount, 0U);
    EXPECT_TRUE(file.children.empty());
}

TEST(Listing, MessageWithoutPlainBodyLeavesTheSizeAlone) {
    RecordingHost host(crlf("Content-Type: text/html\n\nhtml"));
    OpenedMessage opened(host);
    EXPECT_EQ(static_cast<uint32_t>(opened.describe(0).info.size), kUntouched);
}

TEST(Listing, ConvertedAttachmentIsNotInTheFile) {
    RecordingHost host(crlf("Content-Type: multipart/mixed\n\nAttachment Converted: \"x.doc\"\n"));
    OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
    const SubFile file = opened.describe(1);
    EXPECT_EQ(file.info.size, -1);
    EXPECT_EQ(file.info.flags, 4U);
}

// A body of 4 GiB and a few bytes: the size has the low 32 bits.
TEST(Listing, SizesKeepTheirLow32Bits) {
    const std::string head = crlf("Content-Disposition: attachment; filename=big\n\n");
    for (const uint64_t body : {(uint64_t{1} << 32) + 5, uint64_t{0x80000001}, uint64_t{7}}) {
        RecordingHost host(head);
        host.extendTo(head.size() + body);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.describe(1).info.size, static_cast<int32_t>(static_cast<uint32_t>(body)));
    }
}

// --- arguments

TEST(Listing, ArgumentsOfTheDescription) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host);
    EmlSubFileInfo info{};
    EmlHostRecord record = host.record();
    EXPECT_EQ(emlGetSubFileInfo2(nullptr, 0, &info, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileInfo2(opened.context(), 0, nullptr, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetSubFileInfo2(opened.context(), 0, &info, nullptr), EML_INVALID_ARGUMENT);
    record.hostOwned = 0;
    EXPECT_EQ(emlGetSubFileInfo2(opened.context(), 0, &info, &record), EML_INVALID_ARGUMENT);
    record = host.record();
    record.allocator = nullptr;
    EXPECT_EQ(emlGetSubFileInfo2(opened.context(), 0, &info, &record), EML_INVALID_ARGUMENT);
}

TEST(Listing, MemoryOfTheHostThatRunsOut) {
    RecordingHost counted(kTwoFiles);
    OpenedMessage countedOpened(counted, EML_OPEN_ROOT_FOLDER);
    for (int32_t number = 0; number < 4; ++number) {
        const uint64_t before = counted.journal().calls(Entry::kRecordAllocate);
        EXPECT_EQ(countedOpened.describe(number).result, EML_OK);
        const uint64_t needed = counted.journal().calls(Entry::kRecordAllocate) - before;
        EXPECT_EQ(needed, number < 2 ? 2U : 1U) << "a name, and the children where there are any";
        for (uint64_t nth = 1; nth <= needed; ++nth) {
            RecordingHost host(kTwoFiles);
            OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
            host.journal().fail(Entry::kRecordAllocate, {nth, false});
            EXPECT_EQ(opened.describe(number).result, EML_NO_MEMORY) << number << " " << nth;
            EXPECT_EQ(opened.describe(number).result, EML_OK) << "the context stays usable";
        }
    }
}

TEST(Listing, MissingAllocateOfTheRecordIsMemoryThatRanOut) {
    RecordingHost host(kTwoFiles);
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    host.remove(Entry::kRecordAllocate);
    for (int32_t number = 0; number < 4; ++number) EXPECT_EQ(opened.describe(number).result, EML_NO_MEMORY);
}

// Describing the last of many attachments costs what describing the first one does: nothing is read or
// walked.
TEST(Listing, AttachmentsAreFoundByNumber) {
    std::string parts;
    for (int i = 0; i < 3000; ++i)
        parts += "--b\nContent-Type: image/png; name=f" + std::to_string(i) + "\n\nx\n";
    RecordingHost host(multipart("mixed", parts + "--b--\n"));
    OpenedMessage opened(host);
    ASSERT_EQ(opened.subFileCount(), 3001U);
    const uint64_t reads = host.journal().calls(Entry::kInputRead);
    for (int32_t i = 1; i <= 3000; ++i) ASSERT_EQ(opened.describe(i).name, "f" + std::to_string(i - 1));
    EXPECT_EQ(host.journal().calls(Entry::kInputRead), reads);
    EXPECT_EQ(opened.describe(0).children.size(), 3000U);
    EXPECT_EQ(opened.describe(0).children.back(), 3000U);
}

TEST(Listing, SectionsAreDescribedWithinBounds) {
    const std::string boundary(4000, 'q');
    RecordingHost host(multipart("mixed", "--b\nContent-Type: multipart/mixed; boundary=" + boundary +
                                              "\nContent-Disposition: attachment; filename=" +
                                              std::string(3900, 'n') + "\n\nx\n--b--\n"),
                       {.heapMode = HeapMode::kGuarded});
    OpenedMessage opened(host);
    ASSERT_GE(sectionsOf(opened).at(0)->boundaryLength, 4000U);
    emlDebugSections(opened.context());
}

}  // namespace
}  // namespace eml::test
