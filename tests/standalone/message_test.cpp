#include "standalone/message.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using emlhost::Extraction;
using emlhost::MemoryInput;
using emlhost::MemoryOutput;
using emlhost::OpenMessage;
using emlhost::Services;
using emlhost::SubFile;

constexpr char kMessage[] =
    "From: a@example.net\r\n"
    "Subject: two parts\r\n"
    "MIME-Version: 1.0\r\n"
    "Content-Type: multipart/mixed; boundary=\"edge\"\r\n"
    "\r\n"
    "--edge\r\n"
    "Content-Type: text/plain; charset=utf-8\r\n"
    "\r\n"
    "Hello.\r\n"
    "--edge\r\n"
    "Content-Type: application/octet-stream; name=\"data.bin\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "Content-Disposition: attachment; filename=\"data.bin\"\r\n"
    "\r\n"
    "AAECAw==\r\n"
    "--edge--\r\n";

std::span<const uint8_t> messageBytes() {
    return {reinterpret_cast<const uint8_t*>(kMessage), std::strlen(kMessage)};
}

TEST(OpenMessage, DescribesAndExtractsAndLeavesNothingBehind) {
    Services services;
    {
        MemoryInput input(messageBytes());
        OpenMessage message(input, services);
        ASSERT_EQ(message.status(), EML_OK);
        ASSERT_TRUE(message.usable());
        EXPECT_EQ(message.subFileCount(), 2u);
        EXPECT_EQ(message.charset(), EML_CHARSET_UTF_8);

        SubFile whole = message.describe(0);
        EXPECT_EQ(whole.status, EML_OK);
        EXPECT_EQ(whole.kind, EML_KIND_MESSAGE);
        EXPECT_EQ(whole.parent, -1);
        EXPECT_EQ(whole.children, std::vector<uint32_t>{1});

        SubFile attachment = message.describe(1);
        EXPECT_EQ(attachment.status, EML_OK);
        EXPECT_EQ(attachment.name, "data.bin");
        EXPECT_EQ(attachment.kind, EML_KIND_ATTACHMENT);

        MemoryOutput output;
        Extraction extraction = message.extract(1, output);
        EXPECT_EQ(extraction.status, EML_OK);
        EXPECT_EQ(extraction.flags, 0u);
        EXPECT_EQ(output.bytes(), (std::vector<uint8_t>{0, 1, 2, 3}));
        EXPECT_EQ(output.object()->size[0], 4u);
        EXPECT_FALSE(output.error());

        EXPECT_EQ(message.describe(2).status, EML_INVALID_ARGUMENT);
        EXPECT_EQ(message.extract(2, output).status, EML_NO_SUB_FILE);
    }
    EXPECT_EQ(services.heap().counts().liveBlocks, 0u);
    EXPECT_EQ(services.hostHeap().counts().liveBlocks, 0u);
    EXPECT_GT(services.hostHeap().counts().allocations, 0u);
}

TEST(OpenMessage, WithoutAnInputThatOpensNothingWorks) {
    Services services;
    MemoryInput input(messageBytes());
    input.object()->open = nullptr;
    OpenMessage message(input, services);
    EXPECT_EQ(message.status(), EML_INPUT_NOT_OPENED);
    EXPECT_FALSE(message.usable());
    EXPECT_EQ(message.subFileCount(), 0u);
    EXPECT_EQ(message.describe(0).status, EML_INVALID_ARGUMENT);
    MemoryOutput output;
    EXPECT_EQ(message.extract(0, output).status, EML_INVALID_ARGUMENT);
}

}  // namespace
