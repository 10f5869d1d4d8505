// The tables of parts and attachments: how they grow.
#include "filter/part_tables.h"

#include <gtest/gtest.h>

#include "filter/open_filter.h"

namespace eml::test {
namespace {

TEST(FilterAttachmentTable, GrowsAndIsLostWhenItCannot) {
    OpenFilter filter("Content-Type: image/x; name=n\r\n\r\ncontent\r\n");
    EmlFilterContext& context = filter.opened();
    ASSERT_EQ(context.parts.attachments.capacity, 5);
    EXPECT_EQ(checkAttachments(context), EML_OK);
    EXPECT_EQ(context.parts.attachments.capacity, 5);
    context.parts.attachments.count = context.parts.attachments.capacity;
    EXPECT_EQ(checkAttachments(context), EML_OK);
    EXPECT_GE(context.parts.attachments.capacity, 10);
    EXPECT_EQ(context.parts.attachments.capacity % 5, 0);
    context.parts.attachments.count = context.parts.attachments.capacity;
    filter.host().journal().fail(Entry::kReallocate, {1, true});
    EXPECT_EQ(checkAttachments(context), EML_NO_MEMORY);
    EXPECT_EQ(context.parts.attachments.records, nullptr);
    EXPECT_EQ(filter.host().heap().lostBlocks(), 1U);
}

// The names stand in a block of their own, which may move.
TEST(FilterAttachmentNames, AreKeptInTheirRealLength) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    std::vector<std::string> names;
    for (const size_t length : {0U, 1U, 5U, 1023U, 1023U, 1023U, 1023U, 1023U, 7U, 0U, 1022U}) {
        names.push_back(std::string(length, static_cast<char>('a' + names.size())));
        message +=
            "--b\r\nContent-Type: application/applefile\r\nContent-Disposition: attachment; filename=" +
            names.back() + (length == 1023 ? "cut\r\n\r\nx\r\n" : "\r\n\r\nx\r\n");
    }
    OpenFilter filter(message + "--b--\r\n");
    ASSERT_EQ(filter.opened().parts.attachments.count, static_cast<int32_t>(names.size()));
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(filter.nameAt(static_cast<int64_t>(i)), names[i]);
        EmlAttachmentInfo info;
        std::memset(&info, 0x55, sizeof info);
        ASSERT_EQ(emlGetSubFileInfo(filter.context(), static_cast<uint32_t>(i), &info), EML_OK);
        EXPECT_EQ(std::string(info.name, sizeof info.name),
                  names[i] + std::string(1024 - names[i].size(), '\0'));
    }
}

TEST(FilterAttachmentNames, ZeroBytesStayInThem) {
    const std::string name("a\0b\0\0c\0", 7);
    OpenFilter filter("Content-Type: image/x; name=\"" + name + "\"\r\n\r\nx\r\n");
    ASSERT_EQ(filter.opened().parts.attachments.count, 1);
    EXPECT_EQ(filter.nameAt(0), "a");
    EmlAttachmentInfo info;
    std::memset(&info, 0x55, sizeof info);
    ASSERT_EQ(emlGetSubFileInfo(filter.context(), 0, &info), EML_OK);
    EXPECT_EQ(std::string(info.name, sizeof info.name), name + std::string(1017, '\0'));
}

TEST(FilterAttachmentNames, ThatCannotBeKeptFailTheOpen) {
    std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (int i = 0; i < 5; ++i)
        message += "--b\r\nContent-Type: image/x; name=" + std::string(1000, 'n') + "\r\n\r\nx\r\n";
    for (const Entry entry : {Entry::kAllocate, Entry::kReallocate}) {
        // The context, the boundary, the attachments and their names; the fifth name needs a larger block.
        RecordingHost host(message + "--b--\r\n");
        host.journal().fail(entry, {entry == Entry::kAllocate ? 4U : 1U, false});
        EmlResult result = EML_OK;
        EXPECT_EQ(emlInitEx(&host.input(), &host.services(), 0, 0, 0, &result), nullptr);
        EXPECT_EQ(result, EML_NO_MEMORY);
        EXPECT_EQ(host.services().lastError, EML_NO_MEMORY);
        EXPECT_EQ(host.heap().liveBlocks(), 0U);
        EXPECT_EQ(host.heap().lostBlocks(), entry == Entry::kReallocate ? 1U : 0U);
    }
}

}  // namespace
}  // namespace eml::test
