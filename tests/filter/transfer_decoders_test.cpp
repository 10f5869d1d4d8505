// The decoders of one attachment: their results, and the block that they share.
#include "filter/transfer_decoders.h"

#include <gtest/gtest.h>

#include "filter/open_filter.h"

namespace eml::test {
namespace {

constexpr char kEightBit[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
    "--b\r\nContent-Type: image/x; name=n\r\nContent-Transfer-Encoding: 8bit\r\n\r\nQUJD\r\n--b--\r\n";
constexpr char kBase64[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
    "--b\r\nContent-Type: image/x; name=n\r\nContent-Transfer-Encoding: base64\r\n\r\nQUJD\r\n--b--\r\n";

TEST(FilterExtractDecoder, HasTheseResults) {
    struct Call {
        const char* name;
        EmlResult (*decode)(EmlFilterContext&, EmlIOobj&, const EmlAttachment&);
        EmlResult withoutMemory;
        EmlResult withoutSeek;
        EmlResult withoutRead;
        EmlResult withoutWrite;
    };
    const Call kCalls[] = {
        {"none", &emlnone, EML_OK, EML_OBJECT_FAILED, EML_OK, EML_OBJECT_FAILED},
        {"quoted-printable", &emlqp, EML_NO_MEMORY, EML_OBJECT_FAILED, EML_OBJECT_FAILED, EML_OK},
        {"base64",
         [](EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment) {
             return emlbase64(context, output, attachment, false);
         },
         EML_NO_MEMORY, EML_OBJECT_FAILED, EML_OBJECT_FAILED, EML_OK},
    };
    for (const Call& call : kCalls) {
        const auto resultWith = [&call](Entry entry) {
            OpenFilter filter(kEightBit);
            MemoryOutput output(filter.host());
            (void)output.object().open(&output.object());
            if (entry == Entry::kOutputWrite) output.remove(entry);
            filter.host().journal().fail(entry, {filter.host().journal().calls(entry) + 1, true});
            EmlAttachment attachment = filter.opened().parts.attachments.records[0];
            attachment.size = 4;
            return call.decode(filter.opened(), output.object(), attachment);
        };
        EXPECT_EQ(resultWith(Entry::kAllocate), call.withoutMemory) << call.name;
        EXPECT_EQ(resultWith(Entry::kInputSeek), call.withoutSeek) << call.name;
        EXPECT_EQ(resultWith(Entry::kInputRead), call.withoutRead) << call.name;
        EXPECT_EQ(resultWith(Entry::kOutputWrite), call.withoutWrite) << call.name;
    }
}

TEST(FilterExtractDecoder, CopyOfNothingStoresASizeOfZero) {
    OpenFilter filter(kEightBit);
    for (const int32_t size : {0, -1, INT32_MIN}) {
        MemoryOutput output(filter.host());
        (void)output.object().open(&output.object());
        EmlAttachment attachment = filter.opened().parts.attachments.records[0];
        attachment.size = size;
        EXPECT_EQ(emlnone(filter.opened(), output.object(), attachment), EML_OK);
        EXPECT_EQ(output.sizeField(), 0U);
        EXPECT_TRUE(output.writes().empty());
    }
}

TEST(FilterExtractDecoder, KeepsItsBlockForTheNextTime) {
    OpenFilter filter(kBase64);
    const uint64_t before = filter.host().journal().calls(Entry::kAllocate);
    EXPECT_EQ(filter.extract(1).bytes, "ABC");
    EXPECT_EQ(filter.extract(1).bytes, "ABC");
    EXPECT_EQ(filter.host().journal().calls(Entry::kAllocate), before + 1);
}

}  // namespace
}  // namespace eml::test
