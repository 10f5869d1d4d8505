// Bodies and attachments of one byte, a room that is just full, a conversion that fails in the body.
#include <gtest/gtest.h>

#include "filter/open_filter.h"
#include "filter/stream_walk.h"

namespace eml::test {
namespace {

std::string withAttachment(const char* encoding, const std::string& content) {
    return "Content-Type: multipart/mixed; boundary=cut\r\n\r\n"
           "--cut\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
           "--cut\r\nContent-Type: application/x; name=a\r\nContent-Transfer-Encoding: " +
           std::string(encoding) + "\r\n\r\n" + content + "\r\n--cut--\r\n";
}

// Only an attachment without any byte leaves the output alone.
TEST(SmallestAttachment, OfOneByteIsWritten) {
    for (const char* encoding : {"8bit", "quoted-printable"}) {
        OpenFilter filter(withAttachment(encoding, "x"));
        ASSERT_NE(filter.context(), nullptr) << encoding;
        const FilterExtracted content = filter.extract(1);
        EXPECT_EQ(content.result, EML_OK) << encoding;
        EXPECT_TRUE(content.opened) << encoding;
        EXPECT_EQ(content.bytes, "x") << encoding;
        EXPECT_EQ(content.sizeField, 1U) << encoding;
    }
}

// What is decoded is counted once it has been read: content that cannot be read leaves the size alone.
TEST(SmallestAttachment, ThatCannotBeReadLeavesTheSize) {
    for (const char* encoding : {"base64", "quoted-printable"}) {
        OpenFilter filter(withAttachment(encoding, "eA=="));
        ASSERT_NE(filter.context(), nullptr) << encoding;
        Journal& journal = filter.host().journal();
        journal.fail(Entry::kInputRead, {journal.calls(Entry::kInputRead) + 1, true});
        const FilterExtracted content = filter.extract(1);
        EXPECT_EQ(content.result, EML_OK) << encoding << ": the decoder's own result is not looked at";
        EXPECT_EQ(content.bytes, "") << encoding;
        EXPECT_EQ(content.sizeField, kNoSize) << encoding;
    }
}

// A body of one byte is not at its end before that byte has been converted, also where the host's buffer is
// full just after the record that begins the body.
TEST(SmallestBody, OfOneByteIsConvertedAtEveryCapacity) {
    for (const char* body : {"\t", "\n"}) {
        // The body of a part; that of a plain message begins with the line end after its header.
        StreamHost host(
            "To: b\r\nContent-Type: multipart/mixed; boundary=cut\r\n\r\n"
            "--cut\r\nContent-Type: text/plain\r\n\r\n" +
            std::string(body) + "\r\n--cut--\r\n");
        ASSERT_NE(host.context, nullptr);
        const std::string whole = textOfStream(convertAll(host.context, 65536).bytes());
        ASSERT_TRUE(whole.ends_with(body));
        for (uint32_t capacity = 60; capacity < 400; ++capacity) {
            const Conversion conversion = convertAll(host.context, capacity);
            if (!conversion.finished) continue;  // too small to get through
            EXPECT_EQ(textOfStream(conversion.bytes()), whole) << capacity;
        }
    }
}

// A conversion that fails in the body is over like one that fails in the header: the name may be asked for.
TEST(FailedBody, LetsTheOutputGo) {
    RecordingHost host("To: b\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" +
                       std::string(9000, 'x'));
    EmlFilterContext* const context = emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr);
    ASSERT_NE(context, nullptr);
    host.journal().fail(Entry::kReallocate, {host.journal().calls(Entry::kReallocate) + 1, false});
    EXPECT_EQ(convertAll(context, 4096).result, EML_OBJECT_FAILED);
    char name[14] = {};
    EXPECT_EQ(emlGetMainNameDate(context, name, nullptr), EML_OK);
    EXPECT_STREQ(name, "zteml.mail");
    emlShutdown(context);
}

// The subject's records have 4096 bytes of room: a text that ends there counts, a longer one is left out.
TEST(SmallestName, TheSubjectsRecordsHaveFourKilobytes) {
    // 145 words, each of them 28 bytes: a charset, a text that no name takes, and the charset after it.
    std::string words;
    for (int i = 0; i < 145; ++i) words += "=?shift_jis?z?:?=";
    for (const bool fits : {true, false}) {
        OpenFilter filter("Subject: " + words + std::string(fits ? 27 : 28, 'a') + "\r\n\r\nbody\r\n");
        ASSERT_NE(filter.context(), nullptr);
        char name[14] = {};
        ASSERT_EQ(emlGetMainNameDate(filter.context(), name, nullptr), EML_OK);
        EXPECT_STREQ(name, fits ? "aaaaaaaa.mail" : "zteml.mail");
    }
}

}  // namespace
}  // namespace eml::test
