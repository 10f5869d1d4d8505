// The filter's entry table, and what is asked of an open message as a whole.
#include <gtest/gtest.h>

#include <cstring>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

template <class Function>
void* addressOf(Function* function) {
    void* address = nullptr;
    static_assert(sizeof address == sizeof function);
    std::memcpy(&address, &function, sizeof address);
    return address;
}

std::string withAttachments(int count) {
    std::string message =
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain\n\ntext\n";
    for (int i = 0; i < count; ++i) message += "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    return crlf(message + "--b--\n");
}

TEST(FilterTable, HoldsTheseEntriesInThisOrder) {
    void* table[8];
    for (void*& slot : table) slot = &table;
    emlGetContainerReaderInterface(table);
    EXPECT_EQ(table[0], addressOf(&emlInit));
    EXPECT_EQ(table[1], addressOf(&emlShutdown));
    EXPECT_EQ(table[2], addressOf(&emlGetSubFileInfo));
    EXPECT_EQ(table[3], addressOf(&emlExtractSubFileToIOobj));
    EXPECT_EQ(table[4], addressOf(&emlGetFileNumber));
    EXPECT_EQ(table[5], addressOf(&emlFillBuffer));
    EXPECT_EQ(table[6], addressOf(&emlCharSet));
    EXPECT_EQ(table[7], &table);  // nothing behind them is written
}

TEST(FilterQuery, NumberOfFilesIsThatOfTheAttachments) {
    EXPECT_EQ(emlGetFileNumber(nullptr), -1);
    EXPECT_EQ(emlGetFileNumber(OpenFilter("Subject: s\r\n\r\ntext\r\n").context()), 0);
    EXPECT_EQ(emlGetFileNumber(OpenFilter(withAttachments(3)).context()), 3);
    EXPECT_EQ(emlGetFileNumber(OpenFilter(withAttachments(3), EML_OPEN_ROOT_FOLDER).context()), 3);
}

TEST(FilterQuery, ContainerCountsTheMessageAndTheRootFolder) {
    struct Row {
        std::string message;
        uint32_t flags;
        uint32_t count;
    };
    const std::string encrypted = "Content-Type: application/pkcs7-mime; name=smime.p7m\r\n\r\nTWFu\r\n";
    const std::string named =
        "Content-Type: application/pkcs7-mime\r\n"
        "Content-Disposition: attachment; filename=smime.p7m\r\n\r\nTWFu\r\n";
    const Row kRows[] = {
        {withAttachments(0), 0, 1},
        {withAttachments(0), EML_OPEN_ROOT_FOLDER, 2},
        {withAttachments(3), 0, 4},
        {withAttachments(3), EML_OPEN_ROOT_FOLDER, 5},
        {withAttachments(3), EML_OPEN_ATTACHMENTS_FOLDER | EML_OPEN_CONVERTED_ATTACHMENTS, 4},
        {encrypted, 0, 1},
        {encrypted, EML_OPEN_ROOT_FOLDER, 2},
        {named, 0, 1},
        {named, EML_OPEN_ROOT_FOLDER, 2},
    };
    for (const Row& row : kRows) {
        OpenFilter filter(row.message, row.flags);
        ASSERT_NE(filter.context(), nullptr);
        EmlContainerInfo info;
        std::memset(&info, 0xA5, sizeof info);
        EXPECT_EQ(emlGetContainerInfo(filter.context(), &info, &filter.host().record()), EML_OK);
        EXPECT_EQ(info.subFileCount, row.count) << row.flags;
        EXPECT_EQ(info.charset, 7U);
        EXPECT_EQ(info.charsetExtra, 0U);
        for (const uint32_t word : info.hostOwned1) EXPECT_EQ(word, 0xA5A5A5A5);
        for (const uint32_t word : info.hostOwned2) EXPECT_EQ(word, 0xA5A5A5A5);
    }
}

TEST(FilterQuery, UnknownCharsetBecomesTheDefaultForGood) {
    OpenFilter filter("Content-Type: text/plain; charset=nonsense\r\n\r\ntext\r\n");
    ASSERT_EQ(filter.opened().charset, 0U);
    EmlContainerInfo info{};
    EXPECT_EQ(emlGetContainerInfo(filter.context(), &info, &filter.host().record()), EML_OK);
    EXPECT_EQ(info.charset, 7U);
    EXPECT_EQ(filter.opened().charset, 7U);
    OpenFilter known("Content-Type: text/plain; charset=koi8-r\r\n\r\ntext\r\n");
    uint32_t extra = 1;
    EXPECT_EQ(emlCharSet(known.context(), &extra), 6U);
    EXPECT_EQ(extra, 0U);
    EXPECT_EQ(known.opened().charset, 6U);
}

TEST(FilterQuery, IncompleteArgumentsWriteNothing) {
    OpenFilter filter("Content-Type: text/plain; charset=nonsense\r\n\r\ntext\r\n");
    EmlContainerInfo info;
    std::memset(&info, 0xA5, sizeof info);
    EmlHostRecord& record = filter.host().record();
    EmlHostRecord withoutWord = record;
    withoutWord.hostOwned = 0;
    EmlHostRecord withoutAllocator = record;
    withoutAllocator.allocator = nullptr;
    EXPECT_EQ(emlGetContainerInfo(nullptr, &info, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo(filter.context(), nullptr, &record), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo(filter.context(), &info, nullptr), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo(filter.context(), &info, &withoutWord), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo(filter.context(), &info, &withoutAllocator), EML_INVALID_ARGUMENT);
    EXPECT_EQ(info.subFileCount, 0xA5A5A5A5);
    EXPECT_EQ(info.charset, 0xA5A5A5A5);
    EXPECT_EQ(filter.opened().charset, 0U);
}

TEST(FilterQuery, LogEntriesAcceptAnything) {
    emlLog();
    emlLog(1, "text", nullptr);
    emlDeleteLogfile();
    emlDeleteLogfile("text", 2.0);
}

}  // namespace
}  // namespace eml::test
