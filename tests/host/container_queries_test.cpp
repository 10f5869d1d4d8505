// The entry table, the questions about the whole container, and the entries that do nothing.
#include <emlreader/eml.h>
#include <gtest/gtest.h>

#include "support/opened_message.h"

namespace eml::test {
namespace {

template <class Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

TEST(EntryTable, HoldsTheContainerReaderInItsOrder) {
    void* table[7] = {};
    emlGetContainerReaderInterfaceEx(table);
    EXPECT_EQ(table[0], address(&emlInit2));
    EXPECT_EQ(table[1], address(&emlShutdown2));
    EXPECT_EQ(table[2], address(&emlGetContainerInfo2));
    EXPECT_EQ(table[3], address(&emlGetSubFileInfo2));
    EXPECT_NE(table[4], nullptr);
    EXPECT_EQ(table[5], address(&emlExtractSubFileToIOobj2));
    EXPECT_EQ(table[6], nullptr) << "six slots are written";
}

TEST(EntryTable, WorksWithoutTheNames) {
    void* table[6] = {};
    emlGetContainerReaderInterfaceEx(table);
    RecordingHost host("\r\ntext");
    EmlResult result = UINT32_MAX;
    auto* open = reinterpret_cast<decltype(&emlInit2)>(table[0]);
    auto* close = reinterpret_cast<decltype(&emlShutdown2)>(table[1]);
    EmlContainerContext* context = open(&host.input(), &host.services(), 0, 0, 0, &result);
    EXPECT_EQ(result, EML_OK);
    close(context);
    EXPECT_TRUE(host.inputClosed());
}

TEST(Logging, AcceptsAnyArguments) {
    emlLog();
    emlLog("text %d", 1, 2.5);
    emlDeleteLogfile();
    emlDeleteLogfile(1, "x");
}

const std::string kMessage = crlf(
    "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/plain; charset=utf-8\n\nx\n"
    "--b\nContent-Type: image/png; name=a\n\nx\n--b\nContent-Type: image/png; name=b\n\nx\n--b--\n");

TEST(ContainerInfo, CountsTheMessageItsAttachmentsAndTheFolder) {
    const struct {
        uint32_t flags;
        uint32_t count;
    } rows[] = {{0, 3}, {EML_OPEN_ROOT_FOLDER, 4}, {EML_OPEN_ATTACHMENTS_FOLDER, 3}};
    for (const auto& row : rows) {
        RecordingHost host(kMessage);
        OpenedMessage opened(host, row.flags);
        EXPECT_EQ(opened.subFileCount(), row.count);
        EXPECT_EQ(opened.charset(), EML_CHARSET_UTF_8);
    }
}

TEST(ContainerInfo, EncryptedMessageIsOneSubFile) {
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        RecordingHost host(
            crlf("Content-Type: application/pkcs7-mime\nContent-Disposition: attachment; filename=a\n\nx\n"));
        OpenedMessage opened(host, flags);
        EXPECT_EQ(opened.subFileCount(), flags == 0 ? 1U : 2U);
    }
}

TEST(ContainerInfo, OnlyCountAndCharsetAreWritten) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    EmlContainerInfo info;
    std::fill_n(reinterpret_cast<uint32_t*>(&info), sizeof info / 4, kUntouched);
    EXPECT_EQ(emlGetContainerInfo2(opened.context(), &info, &host.record()), EML_OK);
    EXPECT_EQ(info.charsetExtra, kUntouched);
    for (const uint32_t word : info.hostOwned1) EXPECT_EQ(word, kUntouched);
    for (const uint32_t word : info.hostOwned2) EXPECT_EQ(word, kUntouched);
}

TEST(ContainerInfo, IncompleteArgumentsAreRefusedAndNothingIsWritten) {
    RecordingHost host(kMessage);
    OpenedMessage opened(host);
    EmlContainerInfo info{};
    info.subFileCount = kUntouched;
    info.charset = kUntouched;
    EmlHostRecord noFirst = host.record();
    noFirst.hostOwned = 0;
    EmlHostRecord noAllocator = host.record();
    noAllocator.allocator = nullptr;
    EXPECT_EQ(emlGetContainerInfo2(nullptr, &info, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo2(opened.context(), nullptr, &host.record()), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo2(opened.context(), &info, nullptr), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo2(opened.context(), &info, &noFirst), EML_INVALID_ARGUMENT);
    EXPECT_EQ(emlGetContainerInfo2(opened.context(), &info, &noAllocator), EML_INVALID_ARGUMENT);
    EXPECT_EQ(info.subFileCount, kUntouched);
    EXPECT_EQ(info.charset, kUntouched);
}

}  // namespace
}  // namespace eml::test
