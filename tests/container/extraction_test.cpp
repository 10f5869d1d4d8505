// Sub-files into output objects.
#include <gtest/gtest.h>

#include "support/sections.h"

namespace eml::test {
namespace {

std::string attachment(const std::string& header, const std::string& body) {
    return multipart("mixed",
                     "--b\n\nplain\n--b\nContent-Disposition: attachment; filename=x\n" + header + "\n") +
           body + "\r\n--b--\r\n";
}

struct ExtractCase {
    const char* rule;
    const char* header;
    std::string body;
    std::string content;
};

TEST(Extraction, ContentOfAnAttachment) {
    using namespace std::string_literals;
    const std::string odd = "a\r\nb\0c\xFF=20\r\nTWFu\r\n\r\n-"s;
    const ExtractCase cases[] = {
        {"no encoding: byte for byte", "", odd, odd},
        {"7bit: byte for byte", "Content-Transfer-Encoding: 7bit\n", odd, odd},
        {"8bit: byte for byte", "Content-Transfer-Encoding: 8bit\n", odd, odd},
        {"binary: byte for byte", "Content-Transfer-Encoding: binary\n", odd, odd},
        {"base64", "Content-Transfer-Encoding: base64\n", "TWFu", "Man"},
        {"base64 ends at a dash", "Content-Transfer-Encoding: base64\n", "TWFu-TWFu", "Man"},
        {"base64 ends at its padding", "Content-Transfer-Encoding: base64\n", "TWFuTQ==TWFu", "ManM"},
        {"base64 ends at 0xFF", "Content-Transfer-Encoding: base64\n", "TWFu\xFFTWFu", "Man"},
        {"base64: an incomplete group is dropped", "Content-Transfer-Encoding: base64\n", "TWFuTWF", "Man"},
        {"base64 of a text type drops CR", "Content-Transfer-Encoding: base64\nContent-Type: text/plain\n",
         "DQo=", "\n"},
        {"base64 of HTML drops CR", "Content-Transfer-Encoding: base64\nContent-Type: text/html\n",
         "DQo=", "\n"},
        {"base64 of RTF keeps CR", "Content-Transfer-Encoding: base64\nContent-Type: application/rtf\n",
         "DQo=", "\r\n"},
        {"base64 of another type keeps CR", "Content-Transfer-Encoding: base64\nContent-Type: image/png\n",
         "DQo=", "\r\n"},
        {"quoted-printable", "Content-Transfer-Encoding: quoted-printable\n", "a=3Db=\r\nc=\nd=41", "a=bcdA"},
        {"quoted-printable keeps CR whatever the type", "Content-Transfer-Encoding: quoted-printable\n",
         "=0D=0Ax\r\ny", "\r\nx\r\ny"},
        {"quoted-printable ends at 0xFF", "Content-Transfer-Encoding: quoted-printable\n",
         "\xFF"
         "abc",
         ""},
        {"an empty body", "", "", ""},
    };
    for (const ExtractCase& row : cases) {
        SCOPED_TRACE(row.rule);
        RecordingHost host(attachment(row.header, row.body));
        OpenedMessage opened(host);
        EmlExtractInfo info{};
        const Extracted got = opened.extract(1, 0, &info);
        EXPECT_EQ(got.result, EML_OK);
        EXPECT_EQ(escaped(got.bytes), escaped(row.content));
        EXPECT_EQ(got.sizeField, row.content.size());
        EXPECT_TRUE(got.closed);
        EXPECT_EQ(info.resultFlags, 0U);
    }
}

TEST(Extraction, LargeBodiesAreWrittenInBlocks) {
    std::string raw;
    for (int i = 0; i < 10000; ++i) raw += static_cast<char>('a' + i % 26);
    std::string base64;
    for (int i = 0; i < 3334; ++i) base64 += "TWFu";
    const struct {
        const char* header;
        std::string body;
        std::vector<uint32_t> writes;
    } rows[] = {{"", raw, {4096, 4096, 1808}},
                {"Content-Transfer-Encoding: quoted-printable\n", raw, {4096, 4096, 1808}},
                {"Content-Transfer-Encoding: base64\n", base64, {4096, 4096, 1810}}};
    for (const auto& row : rows) {
        RecordingHost host(attachment(row.header, row.body));
        OpenedMessage opened(host);
        EXPECT_EQ(opened.extract(1).writes, row.writes) << row.header;
    }
}

TEST(Extraction, OutputIsOpenedRewoundWrittenMeasuredAndClosed) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    host.journal().record();
    (void)opened.extract(1);
    EXPECT_EQ(
        host.journal().sequenceText(),
        "output.open output.seek input.seek input.read output.write output.seek output.tell output.close");
}

TEST(Extraction, AnyOrderAnyNumberOfTimes) {
    RecordingHost host(attachment("Content-Transfer-Encoding: base64\n", "TWFu"));
    OpenedMessage opened(host);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(opened.extract(1).bytes, "Man");
        (void)opened.extract(0);
        EXPECT_EQ(opened.describe(1).name, "x");
    }
}

TEST(Extraction, FolderTouchesNothing) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    EmlExtractInfo info{0, 53};
    const Extracted got = opened.extract(0, 0, &info);
    EXPECT_EQ(got.result, EML_OK);
    EXPECT_FALSE(got.opened);
    EXPECT_EQ(info.outputCharset, 53U);
    EXPECT_EQ(emlExtractSubFileToIOobj2(opened.context(), 0, nullptr, nullptr, 0, 0), EML_OK);
    EXPECT_EQ(opened.extract(2).bytes, "12345") << "every other number is one higher";
}

TEST(Extraction, NumberWithoutASubFileGivesAnEmptyClosedOutput) {
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        for (const int32_t number : {-1, -2, INT32_MIN, 3, 1000, INT32_MAX}) {
            RecordingHost host(attachment("", "12345"));
            OpenedMessage opened(host, flags);
            const Extracted got = opened.extract(number);
            EXPECT_EQ(got.result, EML_NO_SUB_FILE) << number;
            EXPECT_TRUE(got.closed);
            EXPECT_EQ(got.sizeField, 0U);
            EXPECT_EQ(got.bytes, "");
        }
    }
}

// An embedded message whose name cannot be copied ends the open; the attachments before it are counted, and
// it is the last of them. What stands after it is found by number all the same.
TEST(Extraction, AfterAnOpenThatFailedWhatWasFoundIsExtracted) {
    const std::string message = multipart("mixed",
                                          "--b\n\nplain\n--b\nContent-Disposition: inline; filename=x\n\n1\n"
                                          "--b\nContent-Type: message/rfc822\n\nSubject: s\n\n2\n"
                                          "--b\nContent-Disposition: inline; filename=y\n\n3\n--b--\n");
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        RecordingHost host(message);
        host.journal().fail(Entry::kDuplicateString, {1, false});
        OpenedMessage opened(host, flags);
        ASSERT_EQ(opened.result(), EML_NO_MEMORY);
        const int32_t first = flags != 0 ? 2 : 1;
        ASSERT_EQ(opened.subFileCount(), static_cast<uint32_t>(first) + 2);
        const char* const contents[] = {"1", "Subject: s\r\n\r\n2", "3"};
        const EmlResult described[] = {EML_OK, EML_NO_SUB_FILE, EML_INVALID_ARGUMENT};
        for (int32_t i = 0; i < 3; ++i) {
            SCOPED_TRACE(i);
            const Extracted got = opened.extract(first + i);
            EXPECT_EQ(got.result, EML_OK);
            EXPECT_EQ(got.bytes, contents[i]);
            EXPECT_EQ(opened.describe(first + i).result, described[i]) << "describing follows the count";
        }
        EXPECT_EQ(opened.extract(first + 3).result, EML_NO_SUB_FILE);
        EXPECT_EQ(opened.extract(-1).result, EML_NO_SUB_FILE);
        EXPECT_EQ(opened.extract(INT32_MIN).result, EML_NO_SUB_FILE);
    }
}

TEST(Extraction, WithoutATableOfAttachmentsTheListIsWalked) {
    uint64_t allocations = 0;
    int32_t withoutTable = 0;
    for (uint64_t nth = 0; nth <= allocations; ++nth) {
        RecordingHost host(attachment("", "12345"));
        host.journal().fail(Entry::kAllocate, {nth, false});
        OpenedMessage opened(host);
        if (nth == 0) allocations = host.journal().calls(Entry::kAllocate);
        if (opened.context() == nullptr || opened.context()->attachmentCount == 0) continue;
        if (opened.context()->attachments == nullptr) ++withoutTable;
        EXPECT_EQ(opened.extract(1).bytes, "12345") << nth;
        EXPECT_EQ(opened.describe(1).result, EML_OK) << nth;
    }
    EXPECT_EQ(withoutTable, 1) << "of all allocations, the one for the table";
}

TEST(Extraction, ConvertedAttachmentIsEmptyAndSaysSo) {
    RecordingHost host(crlf("Content-Type: multipart/mixed\n\nAttachment Converted: \"x.doc\"\n"));
    OpenedMessage opened(host, EML_OPEN_CONVERTED_ATTACHMENTS);
    EmlExtractInfo info{1, 0};
    const Extracted got = opened.extract(1, 0, &info);
    EXPECT_EQ(got.result, EML_OK);
    EXPECT_EQ(got.bytes, "");
    EXPECT_TRUE(got.closed);
    EXPECT_EQ(got.sizeField, 0U);
    EXPECT_EQ(info.resultFlags, 9U) << "bits are added, none is cleared";
    EXPECT_EQ(opened.extract(1).result, EML_OK) << "without a record there is nothing to report to";
}

// KEPT: the output of an encrypted message stays open, and its size is not taken.
TEST(Extraction, EncryptedMessageLeavesTheOutputOpen) {
    RecordingHost host(crlf("Content-Type: application/pkcs7-mime\n\nTWFu\n"));
    OpenedMessage opened(host);
    const Extracted got = opened.extract(0);
    EXPECT_EQ(got.result, EML_ENCRYPTED);
    EXPECT_TRUE(got.opened);
    EXPECT_FALSE(got.closed);
    EXPECT_EQ(got.sizeField, UINT64_MAX);
    EXPECT_TRUE(got.writes.empty());
}

// An encrypted message lists no attachment, but the file that its header names is there.
TEST(Extraction, FileOfAnEncryptedMessageIsExtracted) {
    const std::string message = crlf(
        "Content-Type: application/pkcs7-mime; name=smime.p7m\nContent-Transfer-Encoding: base64\n"
        "Content-Disposition: attachment; filename=smime.p7m\n\nTWFu\n");
    for (const uint32_t flags : {0U, EML_OPEN_ROOT_FOLDER}) {
        RecordingHost host(message);
        OpenedMessage opened(host, flags);
        const int32_t shift = flags != 0 ? 1 : 0;
        EXPECT_EQ(opened.subFileCount(), static_cast<uint32_t>(shift) + 1);
        EXPECT_EQ(opened.describe(shift + 1).result, EML_INVALID_ARGUMENT);
        EXPECT_EQ(opened.extract(shift).result, EML_ENCRYPTED);
        const Extracted got = opened.extract(shift + 1);
        EXPECT_EQ(got.result, EML_OK);
        EXPECT_EQ(got.bytes, "Man");
        EXPECT_TRUE(got.closed);
    }
}

// That a message is encrypted is answered for the message alone.
TEST(Extraction, FolderAndMissingNumbersOfAnEncryptedMessageComeFirst) {
    RecordingHost host(crlf("Content-Type: application/pkcs7-mime\n\nTWFu\n"));
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    const Extracted folder = opened.extract(0);
    EXPECT_EQ(folder.result, EML_OK);
    EXPECT_FALSE(folder.opened);
    EXPECT_EQ(opened.extract(1).result, EML_ENCRYPTED);
    for (const int32_t number : {-1, 2, INT32_MAX}) {
        const Extracted got = opened.extract(number);
        EXPECT_EQ(got.result, EML_NO_SUB_FILE) << number;
        EXPECT_TRUE(got.closed);
    }
}

TEST(Extraction, CharsetThatIsAskedForIsTakenAway) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    EmlExtractInfo info{0, EML_CHARSET_UTF_8};
    (void)opened.extract(1, EML_EXTRACT_BODY_ONLY, &info);
    EXPECT_EQ(info.outputCharset, 0U);
    EXPECT_EQ(opened.context()->extract.outputCharset, EML_CHARSET_UTF_8);
    EXPECT_EQ(opened.context()->extract.bodyOnly, 1U);
    EXPECT_EQ(opened.context()->extract.preferRichBody, 0U);
    (void)opened.extract(1, 0, &info);
    EXPECT_EQ(opened.context()->extract.outputCharset, 0U) << "not kept from call to call";
    EXPECT_EQ(opened.context()->extract.bodyOnly, 0U);
}

TEST(Extraction, RichBodyAsksForNoConversion) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    EmlExtractInfo info{0, EML_CHARSET_UTF_8};
    (void)opened.extract(1, EML_EXTRACT_PREFER_RICH | 0xFFFFFFF9, &info);
    EXPECT_EQ(info.outputCharset, 0U) << "taken all the same";
    EXPECT_EQ(opened.context()->extract.outputCharset, 0U);
    EXPECT_EQ(opened.context()->extract.preferRichBody, 1U);
    EXPECT_EQ(opened.context()->extract.bodyOnly, 0U);
}

// --- outputs that cannot be used

TEST(Extraction, OutputThatLacksAnEntryIsLeftAsItIs) {
    for (const Entry entry :
         {Entry::kOutputOpen, Entry::kOutputClose, Entry::kOutputSeek, Entry::kOutputWrite}) {
        RecordingHost host(attachment("", "12345"));
        OpenedMessage opened(host);
        MemoryOutput output(host);
        output.remove(entry);
        EXPECT_EQ(emlExtractSubFileToIOobj2(opened.context(), 1, &output.object(), nullptr, 0, 0),
                  EML_OUTPUT_UNUSABLE)
            << entryName(entry);
        EXPECT_TRUE(output.writes().empty());
        EXPECT_FALSE(output.closed());
        EXPECT_EQ(host.journal().calls(Entry::kOutputOpen), 0U)
            << "all entries are looked at before any is used";
        EXPECT_EQ(host.journal().calls(Entry::kOutputSeek), 0U);
    }
}

TEST(Extraction, CharsetIsTakenAwayAlsoWhenTheOutputCannotBeUsed) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    for (const uint32_t options : {0U, EML_EXTRACT_PREFER_RICH}) {
        EmlExtractInfo info{0, EML_CHARSET_UTF_8};
        host.journal().fail(Entry::kOutputOpen, {host.journal().calls(Entry::kOutputOpen) + 1, false});
        EXPECT_EQ(opened.extract(1, options, &info).result, EML_OUTPUT_UNUSABLE);
        EXPECT_EQ(info.outputCharset, 0U);
        info.outputCharset = EML_CHARSET_UTF_8;
        EXPECT_EQ(emlExtractSubFileToIOobj2(opened.context(), 1, nullptr, &info, 0, options),
                  EML_OUTPUT_UNUSABLE);
        EXPECT_EQ(info.outputCharset, 0U);
    }
}

TEST(Extraction, MissingOutputIsUnusable) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    for (const int32_t number : {0, 1}) {
        EXPECT_EQ(emlExtractSubFileToIOobj2(opened.context(), number, nullptr, nullptr, 0, 0),
                  EML_OUTPUT_UNUSABLE);
    }
}

TEST(Extraction, OutputThatDoesNotOpenIsLeftAsItIs) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    host.journal().fail(Entry::kOutputOpen, {1, false});
    const Extracted got = opened.extract(1);
    EXPECT_EQ(got.result, EML_OUTPUT_UNUSABLE);
    EXPECT_EQ(host.journal().calls(Entry::kOutputSeek) + host.journal().calls(Entry::kOutputClose), 0U);
}

TEST(Extraction, OutputWithoutTellKeepsItsSizeField) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    MemoryOutput output(host);
    output.remove(Entry::kOutputTell);
    EXPECT_EQ(emlExtractSubFileToIOobj2(opened.context(), 1, &output.object(), nullptr, 0, 0), EML_OK);
    EXPECT_EQ(output.bytes(), "12345");
    EXPECT_EQ(output.sizeField(), UINT64_MAX);
    EXPECT_TRUE(output.closed());
}

TEST(Extraction, FailedWriteIsNotNoticed) {
    RecordingHost host(attachment("", "12345"));
    OpenedMessage opened(host);
    host.journal().fail(Entry::kOutputWrite, {1, true});
    const Extracted got = opened.extract(1);
    EXPECT_EQ(got.result, EML_OK);
    EXPECT_EQ(got.sizeField, 0U);
}

// --- inputs that stop short

TEST(Extraction, InputThatCannotBePositioned) {
    for (const char* encoding : {"base64", "quoted-printable"}) {
        RecordingHost host(attachment(std::string("Content-Transfer-Encoding: ") + encoding + "\n", "TWFu"));
        OpenedMessage opened(host);
        host.journal().fail(Entry::kInputSeek, {host.journal().calls(Entry::kInputSeek) + 1, true});
        const Extracted got = opened.extract(1);
        EXPECT_EQ(got.result, EML_INPUT_UNUSABLE) << encoding;
        EXPECT_TRUE(got.closed);
        EXPECT_EQ(got.sizeField, 0U);
    }
}

TEST(Extraction, ShortReadEndsACopyQuietly) {
    const std::string body(10000, 'x');
    for (const char* header : {"", "Content-Transfer-Encoding: quoted-printable\n"}) {
        RecordingHost host(attachment(header, body));
        OpenedMessage opened(host);
        host.journal().fail(Entry::kInputRead, {host.journal().calls(Entry::kInputRead) + 2, true});
        const Extracted got = opened.extract(1);
        EXPECT_EQ(got.result, EML_OK);
        EXPECT_EQ(got.bytes, body.substr(0, 4096)) << "what was written stays";
    }
}

TEST(Extraction, ReadsNeverGoBeyondTheBody) {
    for (const char* encoding : {"base64", "quoted-printable", "8bit"}) {
        RecordingHost host(attachment(std::string("Content-Transfer-Encoding: ") + encoding + "\n", "TWFu"));
        OpenedMessage opened(host);
        const uint64_t before = host.bytesRead();
        (void)opened.extract(1);
        EXPECT_EQ(host.bytesRead() - before, 4U) << encoding;
    }
}

// The length of a body counts in 32 bits, signed: of 4 GiB and five bytes five are extracted, of 2 GiB
// nothing.
TEST(Extraction, LengthOfABodyHas32Bits) {
    for (const char* encoding : {"base64", "quoted-printable", "8bit"}) {
        const std::string head = crlf(std::string("Content-Transfer-Encoding: ") + encoding +
                                      "\nContent-Disposition: attachment; filename=big\n\n");
        for (const uint64_t body : {(uint64_t{1} << 32) + 8, uint64_t{1} << 31}) {
            RecordingHost host(head);
            host.extendTo(head.size() + body);
            OpenedMessage opened(host);
            const size_t expected = body == uint64_t{1} << 31 ? 0 : std::string(encoding) == "base64" ? 6 : 8;
            EXPECT_EQ(opened.extract(1).bytes.size(), expected) << encoding;
        }
    }
}

TEST(Extraction, NullContextIsRefused) {
    RecordingHost host;
    MemoryOutput output(host);
    EXPECT_NE(emlExtractSubFileToIOobj2(nullptr, 0, &output.object(), nullptr, 0, 0), EML_OK);
    EXPECT_FALSE(output.opened());
}

}  // namespace
}  // namespace eml::test
