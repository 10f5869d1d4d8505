// The C++ wrapper against the C interface: what it gives, what it throws, and that nothing stays behind.
#include <gtest/gtest.h>
#include <emlreader/emlreader.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using emlreader::Error;
using emlreader::Message;
using emlreader::SubFile;

const char kLetter[] =
    "From: =?UTF-8?Q?Zo=C3=AB?= <zoe@example.net>\r\n"
    "To: anna@example.org\r\n"
    "Subject: Report\r\n"
    "Date: Tue, 4 Mar 2025 09:15:22 +0100\r\n"
    "X-Room: 12\r\n"
    "Content-Type: multipart/mixed; boundary=\"b\"\r\n"
    "\r\n"
    "--b\r\n"
    "Content-Type: text/plain; charset=utf-8\r\n"
    "\r\n"
    "Hello Zo\xC3\xAB\r\n"
    "--b\r\n"
    "Content-Type: application/octet-stream; name=\"a.bin\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "AAECAw==\r\n"
    "--b\r\n"
    "Content-Type: message/rfc822; name=\"inner.eml\"\r\n"
    "\r\n"
    "Subject: Inner\r\n"
    "\r\n"
    "deep\r\n"
    "--b--\r\n";

Message letter(uint32_t flags = 0) { return Message::fromBytes({kLetter, sizeof kLetter - 1}, flags); }

template <typename Call>
EmlResult codeOf(Call call) {
    try {
        call();
    } catch (const Error& error) {
        return error.code();
    }
    return EML_OK;
}

TEST(CppWrapper, ListsSubFilesAsARange) {
    Message message = letter();
    EXPECT_EQ(message.status(), EML_OK);
    EXPECT_EQ(message.size(), sizeof kLetter - 1);
    std::vector<std::string> names;
    for (const SubFile& file : message.subFiles()) names.emplace_back(file.name());
    EXPECT_EQ(names, (std::vector<std::string>{"Report.mail", "a.bin", "Inner.eml"}));
    size_t attachments = 0;
    for (const SubFile& file : message.subFiles()) attachments += file.isAttachment() ? 1 : 0;
    EXPECT_EQ(attachments, 2u);
    EXPECT_TRUE(message.subFile(2).isEmbeddedMessage());
    EXPECT_EQ(message.subFile(1).storedSize(), 8u);
    EXPECT_EQ(message.subFile(1).parent(), 0u);
    EXPECT_EQ(message.subFile(0).children().size(), 2u);
    EXPECT_TRUE(message.subFile(0).date().has_value());
    EXPECT_FALSE(message.subFile(1).date().has_value());
}

TEST(CppWrapper, HeaderValuesAreViewsOfWhatTheLibraryGave) {
    Message message = letter();
    emlreader::HeaderFields fields = message.headers();
    static_assert(std::ranges::random_access_range<emlreader::HeaderFields>);
    ASSERT_EQ(fields.size(), 7u);
    EXPECT_EQ(fields[0].name, "From");
    EXPECT_EQ(fields[4].name, "Bcc");
    EXPECT_FALSE(fields[4].value.has_value());
    EXPECT_EQ(message.header("Subject"), "Report");
    EXPECT_EQ(message.header("X-Room"), "12");
    EXPECT_EQ(message.header("X-None"), std::nullopt);
    EXPECT_EQ(message.header("From"), "Zo\xC3\xAB <zoe@example.net>");
    emlreader::HeaderFields moved = std::move(fields);
    EXPECT_EQ(moved[5].value, "Report");
}

TEST(CppWrapper, RootFolderMovesTheMessageToNumberOne) {
    Message message = letter(EML_OPEN_ROOT_FOLDER);
    EXPECT_TRUE(message.subFile(0).isFolder());
    EXPECT_TRUE(message.subFile(1).isMessage());
    EXPECT_EQ(message.header("Subject"), "Report");
    std::string document;
    message.render(emlreader::Form::Text, [&](std::string_view piece) { document += piece; });
    EXPECT_NE(document.find("Hello Zo\xC3\xAB"), std::string::npos);
}

TEST(CppWrapper, ExtractsIntoASink) {
    Message message = letter();
    std::string bytes;
    message.subFile(1).extract([&](std::string_view piece) { bytes += piece; });
    EXPECT_EQ(bytes, std::string("\0\1\2\3", 4));

    std::string inner;
    message.extract(2, [&](std::string_view piece) { inner += piece; });
    Message embedded = Message::fromBytes(inner);
    EXPECT_EQ(embedded.header("Subject"), "Inner");
}

TEST(CppWrapper, TextIsUtf8WithAndWithoutHeader) {
    Message message = letter();
    EXPECT_EQ(message.text(false), "Hello Zo\xC3\xAB");
    std::string whole = message.text();
    EXPECT_NE(whole.find("Zo\xC3\xAB <zoe@example.net>"), std::string::npos) << whole;
    EXPECT_NE(whole.find("Hello Zo\xC3\xAB"), std::string::npos);
    // The container reader is not disturbed by the filter on the same input.
    EXPECT_EQ(message.subFileCount(), 3u);
    EXPECT_EQ(message.header("Subject"), "Report");
}

TEST(CppWrapper, WhatASinkThrowsComesOut) {
    Message message = letter();
    auto full = [](std::string_view) { throw std::length_error("full"); };
    EXPECT_THROW(message.extract(1, full), std::length_error);
    EXPECT_THROW(message.text(full), std::length_error);
    std::string bytes;
    message.extract(1, [&](std::string_view piece) { bytes += piece; });
    EXPECT_EQ(bytes.size(), 4u);
}

TEST(CppWrapper, FailuresAreErrorsWithTheirCode) {
    Message message = letter();
    auto ignore = [](std::string_view) {};
    EXPECT_EQ(codeOf([&] { message.extract(9, ignore); }), EML_NO_SUB_FILE);
    EXPECT_EQ(codeOf([&] { message.subFile(9); }), EML_INVALID_ARGUMENT);
    EXPECT_THROW(Message("/no/such/file.eml"), std::system_error);
    EXPECT_THROW(Message("/"), std::system_error);
    Message encrypted = Message::fromBytes(
        "Subject: s\nContent-Type: application/pkcs7-mime; smime-type=enveloped-data\n\nMII=\n");
    EXPECT_TRUE(encrypted.subFile(0).isEncrypted());
    EXPECT_EQ(codeOf([&] { encrypted.render(emlreader::Form::Text, ignore); }), EML_ENCRYPTED);
    EXPECT_NE(std::string(Error(EML_ENCRYPTED).what()).find("encrypted"), std::string::npos);
}

TEST(CppWrapper, WhatTheLibraryHandsOverIsFreedWithItsObject) {
    Message message = letter();
    const emlhost::HeapCounts& counts = message.services().hostHeap().counts();
    {
        auto fields = message.headers();
        SubFile file = message.subFile(0);
        EXPECT_GT(counts.liveBlocks, 8u);
        auto moved = std::move(fields);
        fields = message.headers();
        SubFile another = std::move(file);
        EXPECT_EQ(another.children().size(), 2u);
    }
    for (const SubFile& file : message.subFiles()) EXPECT_EQ(file.status(), EML_OK);
    EXPECT_EQ(codeOf([&] { message.subFile(9); }), EML_INVALID_ARGUMENT);
    EXPECT_EQ(counts.liveBlocks, 0u);
}

}  // namespace
