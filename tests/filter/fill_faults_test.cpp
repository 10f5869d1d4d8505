// Which code comes of which failure while a message is opened and converted. Every call of every entry fails
// in faults/filter_sweep_test.cpp.
#include <gtest/gtest.h>

#include "filter/stream_walk.h"
#include "reference/filter_text.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

// ---- single failures and their codes

struct OpenedFilter {
    explicit OpenedFilter(const std::string& message)
        : host(message), context(emlInitEx(&host.input(), &host.services(), 0, 0, 0, nullptr)) {
        EXPECT_NE(context, nullptr);
    }
    ~OpenedFilter() { emlShutdown(context); }
    OpenedFilter(const OpenedFilter&) = delete;
    OpenedFilter& operator=(const OpenedFilter&) = delete;

    // The result of a conversion in which the nth call of `entry` from now on fails.
    Conversion convertWithFault(Entry entry, uint64_t nth, bool onwards = false, uint32_t capacity = 4096) {
        host.journal().fail(entry, {host.journal().calls(entry) + nth, onwards});
        return convertAll(context, capacity);
    }

    RecordingHost host;
    EmlFilterContext* context;
};

constexpr char kPlain[] = "From: a\r\nTo: b\r\n\r\nsome text\r\n";

TEST(FillFaults, CodesOfTheHeader) {
    struct {
        const char* what;
        Entry entry;
        uint64_t nth;
        EmlResult result;
    } const cases[] = {
        {"the staging buffer", Entry::kAllocate, 1, EML_NO_MEMORY},
        {"the header block", Entry::kAllocate, 2, EML_NO_MEMORY},
        {"the rewind for the header", Entry::kInputSeek, 1, EML_OBJECT_FAILED},
        {"the read of the header", Entry::kInputRead, 1, EML_OBJECT_FAILED},
    };
    for (const auto& test : cases) {
        OpenedFilter filter(kPlain);
        const Conversion conversion = filter.convertWithFault(test.entry, test.nth);
        EXPECT_EQ(conversion.result, test.result) << test.what;
        ASSERT_EQ(conversion.calls.size(), 1U) << test.what;
        EXPECT_EQ(conversion.calls[0], "") << test.what << ": nothing was given";
        // The output is let go: nothing is in progress.
        char name[14] = {};
        EXPECT_EQ(emlGetMainNameDate(filter.context, name, nullptr), EML_OK) << test.what;
    }
}

TEST(FillFaults, CodesOfTheBody) {
    OpenedFilter seek(kPlain);
    const Conversion conversion = seek.convertWithFault(Entry::kInputSeek, 2);
    EXPECT_EQ(conversion.result, EML_OBJECT_FAILED) << "the seek to the body";
    EXPECT_EQ(textOfStream(conversion.bytes().substr(132)), "{b}From:{/b}\t\t a\n{b}To:{/b}\t\t b\n{27:7}")
        << "what was written before counts";

    OpenedFilter read(kPlain);
    const Conversion ended = read.convertWithFault(Entry::kInputRead, 2);
    EXPECT_EQ(ended.result, EML_OK) << "a body that cannot be read is at its end";
    EXPECT_TRUE(ended.finished);

    OpenedFilter parts(
        "Content-Type: multipart/alternative; boundary=b\r\nTo: b\r\n\r\n"
        "--b\r\nContent-Type: text/plain\r\n\r\ntext\r\n--b--\r\n");
    EXPECT_EQ(parts.convertWithFault(Entry::kInputSeek, 2).result, EML_OBJECT_FAILED)
        << "the seek to the part";
    EXPECT_EQ(parts.convertWithFault(Entry::kInputSeek, 3).result, EML_OBJECT_FAILED)
        << "the seek to its text";
}

// The staging buffer is full somewhere among these records, at each of them once: the first text is made longer
// byte by byte. Where a decoder meets it, its own code for a failed output counts.
TEST(FillFaults, StagingThatCannotGrowAtAnyRecord) {
    size_t fits = 0;
    size_t noMemory = 0;
    size_t inWord = 0;
    for (size_t length = 3500; length < 3950; ++length) {
        OpenedFilter filter("To: " + std::string(length, 'a') +
                            "\r\nSubject: x =?utf-8?q?yy?= z\r\n"
                            "Content-Type: multipart/mixed; boundary=cut\r\n\r\n"
                            "--cut\r\nContent-Type: text/plain\r\n\r\ntext\r\n"
                            "--cut\r\nContent-Type: image/png; name=one\r\n\r\n1\r\n"
                            "--cut\r\nContent-Type: image/png; name=two\r\n\r\n2\r\n--cut--\r\n");
        const EmlResult result = filter.convertWithFault(Entry::kReallocate, 1).result;
        if (result == EML_NO_MEMORY) ++noMemory;
        if (result == EML_OBJECT_FAILED) ++inWord;
        if (result == EML_OK) {
            ++fits;
            EXPECT_EQ(filter.host.journal().calls(Entry::kReallocate), 0U) << length;
        }
        EXPECT_EQ(convertAll(filter.context, 4096).result, EML_OK) << length << ": again, with memory";
    }
    EXPECT_EQ(inWord, 11U) << "the record of a text of two bytes";
    EXPECT_GT(fits, 0U);
    EXPECT_GT(noMemory, 200U);
    EXPECT_EQ(fits + noMemory + inWord, 450U);
}

// KEPT rules: which of the two codes a decoder gives, and that after the base64 step the result of the
// quoted-printable step is the one that counts.
TEST(FillFaults, CodesOfTheDecoders) {
    const std::string header = "To: b\r\nContent-Transfer-Encoding: ";
    {
        OpenedFilter filter(header + "quoted-printable\r\n\r\n" + std::string(9000, 'x'));
        const Conversion conversion = filter.convertWithFault(Entry::kAllocate, 3);
        EXPECT_EQ(conversion.result, EML_OBJECT_FAILED) << "the decode buffer";
        EXPECT_EQ(textOfStream(conversion.bytes().substr(132)), "{b}To:{/b}\t\t b\n{27:7}") << "size is set";
    }
    {
        OpenedFilter filter(header + "quoted-printable\r\n\r\n" + std::string(9000, 'x'));
        EXPECT_EQ(filter.convertWithFault(Entry::kReallocate, 1).result, EML_OBJECT_FAILED) << "its growth";
    }
    {
        // The base64 step fails, and the quoted-printable step then reads the whole body.
        OpenedFilter filter(header + "base64\r\n\r\nPTQx_abc=41\r\n");
        const Conversion conversion = filter.convertWithFault(Entry::kAllocate, 3);
        EXPECT_EQ(conversion.result, EML_OK) << "the base64 step's own code is not kept";
        EXPECT_EQ(textOfStream(conversion.bytes().substr(132)), "{b}To:{/b}\t\t b\n{27:7}\nPTQx abcA\n");
    }
    {
        OpenedFilter filter(header + "base64\r\n\r\nPTQxX2FiYw==\r\n");
        EXPECT_EQ(filter.convertWithFault(Entry::kAllocate, 3, true).result, EML_OBJECT_FAILED)
            << "both steps fail";
    }
    {
        // After a growth that failed nothing is left to read: the text is lost, and the result is that of
        // the quoted-printable step.
        OpenedFilter filter(header + "base64\r\n\r\n" + std::string(12000, 'A'));
        const Conversion conversion = filter.convertWithFault(Entry::kReallocate, 1);
        EXPECT_EQ(conversion.result, EML_OK);
        EXPECT_TRUE(conversion.finished);
    }
    {
        OpenedFilter filter("Subject: =?utf-8?Q?abc?=\r\nTo: b\r\n\r\nx\r\n");
        EXPECT_EQ(filter.convertWithFault(Entry::kAllocate, 3).result, EML_OBJECT_FAILED)
            << "in an encoded word";
    }
}

TEST(FillFaults, StagingBufferThatCannotGrow) {
    std::string message;
    for (int i = 0; i < 150; ++i) message += "To:\r\n";
    OpenedFilter filter(message + "\r\ntext\r\n");
    const Conversion conversion = filter.convertWithFault(Entry::kReallocate, 1);
    EXPECT_EQ(conversion.result, EML_NO_MEMORY);
    EXPECT_EQ(conversion.calls[0], "");
    EXPECT_EQ(filter.host.heap().lostBlocks(), 1U);
}

TEST(FillFaults, StagingBufferThatIsPendingIsFreed) {
    std::string message = "To: " + std::string(2000, 'x') + "\r\n\r\ntext\r\n";
    {
        OpenedFilter filter(message);
        Conversion conversion;
        EXPECT_EQ(fillOnce(filter.context, 256, conversion), EML_OK);
        EXPECT_FALSE(conversion.finished);
        const size_t live = filter.host.heap().liveBlocks();
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(fillOnce(filter.context, 256, conversion, EML_FILL_RESTART), EML_OK);
        EXPECT_EQ(filter.host.heap().liveBlocks(), live) << "a new first fill frees it";
    }
    // The close frees it too: the host complains otherwise.
    OpenedFilter closed(message);
    Conversion conversion;
    EXPECT_EQ(fillOnce(closed.context, 256, conversion), EML_OK);
}

TEST(FillFaults, CodesOfTheOpen) {
    const std::string attachment = "Subject: s\r\nContent-Type: application/pdf; name=a.pdf\r\n\r\nPDF\r\n";
    struct {
        const char* what;
        std::string message;
        Entry entry;
        uint64_t nth;
        EmlResult result;
    } const cases[] = {
        {"the context", kPlain, Entry::kAllocate, 1, EML_NO_MEMORY},
        {"the rewind", kPlain, Entry::kInputSeek, 1, EML_INPUT_NOT_OPENED},
        {"the first read", kPlain, Entry::kInputRead, 1, EML_EMPTY_MESSAGE},
        {"the attachment table", attachment, Entry::kAllocate, 2, EML_NO_MEMORY},
        {"the two parts of a message that is an attachment", attachment, Entry::kAllocateZeroed, 1,
         EML_NO_MEMORY},
        {"the boundary", "Content-Type: multipart/mixed; boundary=b\r\nTo: b\r\n\r\n--b\r\n",
         Entry::kAllocate, 2, EML_NO_MEMORY},
    };
    for (const auto& test : cases) {
        RecordingHost host(test.message);
        host.journal().fail(test.entry, {test.nth, false});
        EmlResult result = 77;
        EXPECT_EQ(emlInitEx(&host.input(), &host.services(), 0, 0, 0, &result), nullptr) << test.what;
        EXPECT_EQ(result, test.result) << test.what;
        EXPECT_EQ(host.services().lastError, test.result) << test.what;
        EXPECT_EQ(host.heap().liveBlocks(), 0U) << test.what;
        EXPECT_FALSE(host.inputOpen()) << test.what;
    }
}

TEST(FillFaults, InputThatCannotBeOpenedIsClosedAllTheSame) {
    static int closed;
    closed = 0;
    for (const bool missing : {false, true}) {
        RecordingHost host;
        EmlIOobj input{};
        if (!missing) input.open = [](EmlIOobj*) { return 0; };
        input.close = [](EmlIOobj*) { return ++closed; };
        EmlResult result = 77;
        EXPECT_EQ(emlInitEx(&input, &host.services(), 0, 0, 0, &result), nullptr);
        EXPECT_EQ(result, EML_INPUT_NOT_OPENED);
        EXPECT_EQ(host.services().lastError, EML_INPUT_NOT_OPENED);
    }
    EXPECT_EQ(closed, 2);
}

// What a read delivers must not show in the records, save where a single byte is all it gives: then that byte
// is the last of its chunk and is dropped.
TEST(FillFaults, ShortReads) {
    const std::string message = "To: b\r\n\r\n" + std::string(3000, 'x') + "\r\nabc\r\n";
    for (const ReadStyle style : {ReadStyle::kHalf, ReadStyle::kOneByte, ReadStyle::kMoreThanAsked}) {
        OpenedFilter filter(message);
        const std::string whole = textOfStream(convertAll(filter.context, 65536).bytes());
        const std::string body = message.substr(message.find("\r\n\r\n") + 2);
        filter.host.setReadStyle(style);
        Conversion conversion;
        filter.host.setReadStyle(ReadStyle::kFull);
        (void)fillOnce(filter.context, 160, conversion, EML_FILL_RESTART);  // the header alone
        ASSERT_EQ(conversion.progress.back(), 0U);
        filter.host.setReadStyle(style);
        std::deque<std::string> chunks;
        for (size_t at = 0; at < body.size();) {
            const size_t left = std::min<size_t>(body.size() - at, 4096);
            const size_t size = style == ReadStyle::kHalf      ? (left + 1) / 2
                                : style == ReadStyle::kOneByte ? 1
                                                               : left;
            chunks.push_back(body.substr(at, size));
            at += size;
        }
        reference::StreamModel model("", 7, chunks);
        std::string expected;
        while (model.progress() < 100) expected += model.fill(65536);
        while (!conversion.finished) (void)fillOnce(filter.context, 65536, conversion);
        const std::string text = textOfStream(conversion.bytes());
        EXPECT_EQ(text.substr(text.size() - std::min(text.size(), textOfStream(expected).size())),
                  textOfStream(expected))
            << static_cast<int>(style);
        if (style == ReadStyle::kOneByte) {
            EXPECT_EQ(textOfStream(expected), "{27:7}\n\n\n\n\n\n") << "KEPT: only the line ends are left";
        }
        if (style == ReadStyle::kMoreThanAsked) {
            EXPECT_EQ(text, whole);
        }
    }
}

}  // namespace
}  // namespace eml::test
