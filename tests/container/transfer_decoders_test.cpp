#include "container/transfer_decoders.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "reference/decoders.h"
#include "support/opened_message.h"

namespace {

using eml::test::Entry;
using eml::test::HostOptions;
using eml::test::MemoryOutput;
using eml::test::OpenedMessage;
using eml::test::ReadStyle;
using eml::test::RecordingHost;
using reference::Bytes;
using reference::bytesOf;
using reference::shown;
using reference::textOf;

enum class Codec : uint8_t { kBase64, kBase64Text, kQuotedPrintable };

constexpr Codec kCodecs[] = {Codec::kBase64, Codec::kBase64Text, Codec::kQuotedPrintable};

std::string expectedOf(Codec codec, const std::string& body) {
    if (codec == Codec::kQuotedPrintable) return textOf(reference::decodeQuotedPrintableBody(bytesOf(body)));
    return textOf(reference::decodeBase64(bytesOf(body), codec == Codec::kBase64Text));
}

EmlResult decodeSection(EmlContainerContext& context, Codec codec, const EmlSection& section,
                        EmlIOobj& output) {
    if (codec == Codec::kQuotedPrintable) return eml2DecodeQP(context, section, output);
    return eml2DecodeBASE64(context, section, codec == Codec::kBase64Text ? 1 : 0, output);
}

// What stands around every body. It would change the output of both codecs, were it read.
const std::string kBefore = "X: TWFu=41TWFu\r\n\r\n";
const std::string kBehind = "TWFu=41TWFu=41";

// A body in an open message, and an output.
class StreamTest {
  public:
    explicit StreamTest(const std::string& body, HostOptions options = {})
        : host_(kBefore + body + kBehind, options), opened_(host_), output_(host_) {
        section_.bodyStart = static_cast<int64_t>(kBefore.size());
        section_.bodyEnd = section_.bodyStart + static_cast<int64_t>(body.size());
        output_.object().open(&output_.object());
    }

    EmlResult decode(Codec codec) {
        return decodeSection(*opened_.context(), codec, section_, output_.object());
    }

    [[nodiscard]] RecordingHost& host() { return host_; }
    [[nodiscard]] EmlSection& section() { return section_; }
    [[nodiscard]] const std::string& bytes() const { return output_.bytes(); }
    [[nodiscard]] const std::vector<uint32_t>& writes() const { return output_.writes(); }

  private:
    RecordingHost host_;
    OpenedMessage opened_;
    MemoryOutput output_;
    EmlSection section_{};
};

void expectDecoded(Codec codec, const std::string& body, HostOptions options = {}) {
    StreamTest test(body, options);
    EXPECT_EQ(EML_OK, test.decode(codec));
    EXPECT_EQ(shown(expectedOf(codec, body)), shown(test.bytes()))
        << "codec " << int(codec) << ", body " << shown(body);
}

std::string repeated(const std::string& text, size_t times) {
    std::string result;
    for (size_t i = 0; i < times; ++i) result += text;
    return result;
}

// Base64 of `groups` times "Man", in lines of 76.
std::string base64Lines(size_t groups) {
    std::string text;
    for (size_t i = 0; i < groups; ++i) text += i % 19 == 18 ? "TWFu\r\n" : "TWFu";
    return text;
}

TEST(StreamDecoders, Rows) {
    const struct {
        Codec codec;
        const char* body;
        std::string output;
    } rows[] = {
        {Codec::kBase64, "TWFu", "Man"},
        {Codec::kBase64, "TWE=", "Ma"},
        {Codec::kBase64, "TQ==", "M"},
        {Codec::kBase64, "TWFuTQ==TWFu", "ManM"},
        {Codec::kBase64, "TW Fu", "Man"},
        {Codec::kBase64, "TW\r\nFu", "Man"},
        {Codec::kBase64, "TWFu-TWFu", "Man"},
        {Codec::kBase64, "TWF", ""},
        {Codec::kBase64, "\xFFTWFu", ""},
        {Codec::kBase64, "DQo=", "\r\n"},
        {Codec::kBase64Text, "DQo=", "\n"},
        {Codec::kBase64Text, "YQ0KYg0K", "a\nb\n"},
        {Codec::kQuotedPrintable, "a=3Db", "a=b"},
        {Codec::kQuotedPrintable, "a=\r\nb", "ab"},
        {Codec::kQuotedPrintable, "a=\nb", "ab"},
        {Codec::kQuotedPrintable, "a =20\r\n_=0D", "a  \r\n_\r"},
        {Codec::kQuotedPrintable, "a=", "a\xFF"},
        {Codec::kQuotedPrintable, "a=4", "a\x7F"},
        {Codec::kQuotedPrintable, "a=\r", "a"},
        {Codec::kQuotedPrintable,
         "\xFF"
         "abc",
         ""},
    };
    for (const auto& row : rows) {
        StreamTest test(row.body);
        EXPECT_EQ(EML_OK, test.decode(row.codec)) << row.body;
        EXPECT_EQ(shown(row.output), shown(test.bytes())) << row.body;
    }
}

// The escape that the body cuts off is not completed by what follows the body.
TEST(StreamDecoders, NothingBehindTheBodyIsRead) {
    for (const Codec codec : kCodecs) {
        for (const size_t size : {1u, 4u, 100u, 4095u, 4096u, 4097u, 8192u, 10000u}) {
            const std::string body = base64Lines(3000).substr(0, size);
            StreamTest test(body);
            const uint64_t before = test.host().bytesRead();
            EXPECT_EQ(EML_OK, test.decode(codec));
            EXPECT_EQ(size, test.host().bytesRead() - before)
                << "codec " << int(codec) << ", body of " << size;
            EXPECT_EQ(shown(expectedOf(codec, body)), shown(test.bytes()));
        }
    }
}

TEST(StreamDecoders, WriteBlocksOf4096AndTheRest) {
    const struct {
        size_t bytes;
        std::vector<uint32_t> writes;
    } rows[] = {{0, {}},
                {1, {1}},
                {4095, {4095}},
                {4096, {4096}},
                {4097, {4096, 1}},
                {8192, {4096, 4096}},
                {10000, {4096, 4096, 1808}}};
    for (const auto& row : rows) {
        StreamTest plain(std::string(row.bytes, 'a'));
        EXPECT_EQ(EML_OK, plain.decode(Codec::kQuotedPrintable));
        EXPECT_EQ(row.writes, plain.writes()) << row.bytes;
        StreamTest escaped(repeated("=41", row.bytes));
        EXPECT_EQ(EML_OK, escaped.decode(Codec::kQuotedPrintable));
        EXPECT_EQ(row.writes, escaped.writes()) << row.bytes;
        EXPECT_EQ(std::string(row.bytes, 'A'), escaped.bytes());
        if (row.bytes % 3 == 0) {
            StreamTest base64(base64Lines(row.bytes / 3));
            EXPECT_EQ(EML_OK, base64.decode(Codec::kBase64));
            EXPECT_EQ(row.writes, base64.writes()) << row.bytes;
        }
    }
}

TEST(StreamDecoders, Base64WritesBlocksOf4096AndTheRest) {
    // 3333 groups of three bytes and one byte.
    const std::string body = base64Lines(3333) + "TQ==";
    for (const Codec codec : {Codec::kBase64, Codec::kBase64Text}) {
        StreamTest test(body);
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ((std::vector<uint32_t>{4096, 4096, 1808}), test.writes());
        EXPECT_EQ(repeated("Man", 3333) + "M", test.bytes());
    }
    // Two bytes of three are left: the blocks stay whole.
    StreamTest dropping(repeated("QQ1B", 5000));
    EXPECT_EQ(EML_OK, dropping.decode(Codec::kBase64Text));
    EXPECT_EQ((std::vector<uint32_t>{4096, 4096, 1808}), dropping.writes());
    EXPECT_EQ(std::string(10000, 'A'), dropping.bytes());
}

// A group or an escape lies across the border of two chunks, in every way.
TEST(StreamDecoders, GroupsAndEscapesStraddleChunks) {
    const char* const pieces[] = {"TWFuTWE=", "TW\r\nFuTQ==", "T-WFu-TWFu",
                                  "T\xFFWFu", "TWF\xFFu",     "=TWFuTWFu"};
    for (const char* piece : pieces) {
        for (size_t before = 4080; before <= 4100; ++before) {
            const std::string body = std::string(before % 4, ' ') + repeated("TWFu", before / 4) + piece;
            for (const Codec codec : {Codec::kBase64, Codec::kBase64Text}) expectDecoded(codec, body);
        }
    }
    const char* const escapes[] = {"=41b", "=\r\nb", "=\nb",   "=\rb",   "=",        "=4",
                                   "=\r",  "==41",   "=4\xFF", "=\xFFz", "=\r=\r\nb"};
    for (const char* escape : escapes) {
        for (size_t before = 4090; before <= 4098; ++before) {
            expectDecoded(Codec::kQuotedPrintable, std::string(before, 'a') + escape);
            expectDecoded(Codec::kQuotedPrintable, std::string(before + 4096, 'a') + escape);
        }
    }
}

// Hosts may deliver less than is asked for: the body is read on, until a read gives nothing.
TEST(StreamDecoders, ShortReadsAreReadOn) {
    const std::string quoted = repeated("a=41=\r\n", 1000);
    for (const ReadStyle style : {ReadStyle::kOneByte, ReadStyle::kHalf, ReadStyle::kMoreThanAsked}) {
        expectDecoded(Codec::kQuotedPrintable, quoted, {.readStyle = style});
        expectDecoded(Codec::kBase64, base64Lines(2000), {.readStyle = style});
        expectDecoded(Codec::kBase64Text, repeated("DQo=", 1), {.readStyle = style});
    }
}

TEST(StreamDecoders, AReadThatGivesNothingEndsTheBody) {
    for (const Codec codec : kCodecs) {
        const std::string body = base64Lines(4000);
        StreamTest test(body);
        Entry const read = Entry::kInputRead;
        test.host().journal().fail(read, {test.host().journal().calls(read) + 2, true});
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ(expectedOf(codec, body.substr(0, 4096)), test.bytes()) << "codec " << int(codec);
    }
}

TEST(StreamDecoders, AReadBelowOneEndsTheBody) {
    for (const Codec codec : kCodecs) {
        StreamTest test("TWFu", {.readStyle = ReadStyle::kMinusOne});
        test.section().bodyStart = 0;
        test.section().bodyEnd = 4;
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ("", test.bytes());
    }
}

TEST(StreamDecoders, AFailingSeekGivesFour) {
    for (const Codec codec : kCodecs) {
        StreamTest test("TWFu");
        test.host().journal().fail(Entry::kInputSeek,
                                   {test.host().journal().calls(Entry::kInputSeek) + 1, true});
        const uint64_t reads = test.host().journal().calls(Entry::kInputRead);
        EXPECT_EQ(EML_INPUT_UNUSABLE, test.decode(codec));
        EXPECT_EQ(reads, test.host().journal().calls(Entry::kInputRead));
        EXPECT_TRUE(test.writes().empty());
    }
}

TEST(StreamDecoders, AMissingSeekGivesFour) {
    for (const Codec codec : kCodecs) {
        StreamTest test("TWFu");
        test.host().remove(Entry::kInputSeek);
        EXPECT_EQ(EML_INPUT_UNUSABLE, test.decode(codec));
        EXPECT_TRUE(test.writes().empty());
    }
}

// The length counts in 32 bits, signed.
TEST(StreamDecoders, ALengthBelowOneReadsNothing) {
    for (const Codec codec : kCodecs) {
        for (const int64_t length : {int64_t{0}, int64_t{-1}, int64_t{-4096}, int64_t{1} << 31,
                                     int64_t{1} << 32, int64_t{0xFFFFFFFF}, (int64_t{1} << 33) - 7}) {
            StreamTest test("TWFu");
            test.section().bodyEnd = test.section().bodyStart + length;
            test.host().journal().fail(Entry::kInputSeek, {1, true});
            EXPECT_EQ(EML_OK, test.decode(codec)) << length;
            EXPECT_TRUE(test.writes().empty()) << length;
        }
    }
}

TEST(StreamDecoders, TheLengthIsItsLow32Bits) {
    for (const Codec codec : kCodecs) {
        StreamTest test("TWFuTWFu");
        test.section().bodyEnd = test.section().bodyStart + (int64_t{1} << 32) + 4;
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ(expectedOf(codec, "TWFu"), test.bytes());
    }
}

TEST(StreamDecoders, ABodyThatClaimsMoreThanTheFileHasEndsWithTheFile) {
    for (const Codec codec : kCodecs) {
        StreamTest test("");
        test.section().bodyEnd = test.section().bodyStart + 1000000;
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ(expectedOf(codec, kBehind), test.bytes());
    }
}

TEST(StreamDecoders, AFailingWriteIsNotNoticed) {
    for (const Codec codec : kCodecs) {
        StreamTest test(base64Lines(4000));
        test.host().journal().fail(Entry::kOutputWrite, {1, true});
        EXPECT_EQ(EML_OK, test.decode(codec));
        size_t written = 0;
        for (const uint32_t count : test.writes()) written += count;
        EXPECT_EQ(expectedOf(codec, base64Lines(4000)).size(), written);
    }
}

// They only write: opening, positioning and closing the output is the caller's business.
TEST(StreamDecoders, UseNoOtherEntryOfTheOutput) {
    for (const Codec codec : kCodecs) {
        StreamTest test(base64Lines(4000));
        EXPECT_EQ(EML_OK, test.decode(codec));
        const eml::test::Journal& journal = test.host().journal();
        EXPECT_EQ(1u, journal.calls(Entry::kOutputOpen));
        EXPECT_EQ(0u, journal.calls(Entry::kOutputSeek));
        EXPECT_EQ(0u, journal.calls(Entry::kOutputTell));
        EXPECT_EQ(0u, journal.calls(Entry::kOutputClose));
    }
}

TEST(StreamDecoders, AllocateNothing) {
    for (const Codec codec : kCodecs) {
        StreamTest test(base64Lines(4000));
        const uint64_t before = test.host().journal().calls(Entry::kAllocate);
        EXPECT_EQ(EML_OK, test.decode(codec));
        EXPECT_EQ(before, test.host().journal().calls(Entry::kAllocate));
        EXPECT_EQ(0u, test.host().journal().calls(Entry::kReallocate));
    }
}

// The buffer decoders, over a block of exactly the size of the text.
class BufferTest {
  public:
    BufferTest() : opened_(host_) {}

    EmlResult base64(const std::string& text) {
        const auto block = copy(text);
        return eml2DecodeBASE64Buffer(*opened_.context(), block.get(), block.get() + text.size());
    }

    EmlResult quotedPrintable(const std::string& text, uint32_t underscoreIsSpace) {
        const auto block = copy(text);
        return eml2DecodeQPBuffer(*opened_.context(), block.get(), block.get() + text.size(),
                                  underscoreIsSpace);
    }

    [[nodiscard]] RecordingHost& host() { return host_; }
    [[nodiscard]] eml::GrowingBuffer& buffer() { return opened_.context()->decoded; }
    [[nodiscard]] std::string bytes() { return std::string(buffer().data, buffer().data + buffer().length); }

  private:
    static std::unique_ptr<uint8_t[]> copy(const std::string& text) {
        std::unique_ptr<uint8_t[]> block(new uint8_t[text.size()]);
        std::copy(text.begin(), text.end(), block.get());
        return block;
    }

    RecordingHost host_;
    OpenedMessage opened_;
};

TEST(BufferDecoders, Base64Rows) {
    const struct {
        const char* text;
        const char* output;
    } rows[] = {{"TWFu", "Man"},     {"TWE=", "Ma"},
                {"TQ==", "M"},       {"TWFuTQ==TWFu", "ManM"},
                {"TW\r\nFu", "Man"}, {"TWFu-TWF", "Man"},
                {"TWFuTWF", "Man"},  {"DQo=", "\n"},
                {"\xFFTWFu", ""},    {"", ""}};
    for (const auto& row : rows) {
        BufferTest test;
        EXPECT_EQ(EML_OK, test.base64(row.text)) << row.text;
        EXPECT_EQ(shown(row.output), shown(test.bytes())) << row.text;
    }
}

TEST(BufferDecoders, QuotedPrintableRows) {
    const struct {
        const char* text;
        uint32_t underscoreIsSpace;
        const char* output;
    } rows[] = {
        {"a=3Db", 0, "a=b"},
        {"a_b", 0, "a_b"},
        {"a_b", 1, "a b"},
        {"a_b", 2, "a b"},
        {"a=5Fb", 1, "a_b"},
        {"a=0D=0Ab", 0, "a\nb"},
        {"a=20\r\nb", 0, "a b"},
        {"a=20\rxb", 1, "a b"},
        {"a=20\r", 0, "a "},
        {"abc=20", 0, "abc 0"},
        {"abc=20", 1, "abc 0"},
        {"a=20b", 0, "a b"},
        {"a=\r\nb", 0, "ab"},
        {"a=", 0, "a\xFF"},
        {"a=4", 0, "a\x7F"},
        {"a\xFF"
         "b",
         0, "a"},
        {"a \r\nb", 0, "a \r\nb"},
        {"", 0, ""},
    };
    for (const auto& row : rows) {
        BufferTest test;
        EXPECT_EQ(EML_OK, test.quotedPrintable(row.text, row.underscoreIsSpace)) << row.text;
        EXPECT_EQ(shown(row.output), shown(test.bytes())) << row.text;
    }
}

TEST(BufferDecoders, AppendToWhatTheBufferHolds) {
    BufferTest test;
    EXPECT_EQ(EML_OK, test.base64("TWFu"));
    EXPECT_EQ(EML_OK, test.quotedPrintable("=41_", 1));
    EXPECT_EQ(EML_OK, test.base64("T"));
    EXPECT_EQ(EML_OK, test.base64("WFuTWFu"));
    EXPECT_EQ("ManA " + textOf(reference::decodeBase64(bytesOf("WFuTWFu"), true)), test.bytes());
}

TEST(BufferDecoders, TheFirstBlockHas4096Bytes) {
    BufferTest test;
    EXPECT_EQ(nullptr, test.buffer().data);
    EXPECT_EQ(EML_OK, test.base64("TWFu"));
    EXPECT_EQ(4096u, test.buffer().capacity);
    EXPECT_EQ(3u, test.buffer().length);
    EXPECT_EQ(EML_OK, test.quotedPrintable(std::string(4093, 'a'), 0));
    EXPECT_EQ(4096u, test.buffer().capacity);
    EXPECT_EQ(0u, test.host().journal().calls(Entry::kReallocate));
}

TEST(BufferDecoders, GrowThroughReallocateInUnitsOf4096) {
    for (const bool quoted : {false, true}) {
        BufferTest test;
        const std::string text = quoted ? std::string(100000, 'a') : repeated("TWFu", 33333);
        EXPECT_EQ(EML_OK, quoted ? test.quotedPrintable(text, 0) : test.base64(text));
        EXPECT_EQ(quoted ? text : repeated("Man", 33333), test.bytes());
        EXPECT_EQ(0u, test.buffer().capacity % 4096);
        EXPECT_LE(test.buffer().length, test.buffer().capacity);
        EXPECT_GE(test.host().journal().calls(Entry::kReallocate), 1u);
    }
}

TEST(BufferDecoders, EveryByteAroundTheBorderOfTheFirstBlock) {
    for (size_t before = 4090; before <= 4100; ++before) {
        BufferTest test;
        EXPECT_EQ(EML_OK, test.quotedPrintable(std::string(before, 'a'), 0));
        EXPECT_EQ(EML_OK, test.base64("TWFuTWE="));
        EXPECT_EQ(EML_OK, test.quotedPrintable("=41=42", 0));
        EXPECT_EQ(std::string(before, 'a') + "ManMaAB", test.bytes());
    }
}

TEST(BufferDecoders, TwoWhenTheBufferCannotBeAllocated) {
    for (const bool quoted : {false, true}) {
        BufferTest test;
        test.host().journal().fail(Entry::kAllocate,
                                   {test.host().journal().calls(Entry::kAllocate) + 1, false});
        EXPECT_EQ(EML_NO_MEMORY, quoted ? test.quotedPrintable("abc", 0) : test.base64("TWFu"));
        EXPECT_EQ(nullptr, test.buffer().data);
        EXPECT_EQ(EML_OK, quoted ? test.quotedPrintable("abc", 0) : test.base64("TWFu"));
        EXPECT_EQ(quoted ? "abc" : "Man", test.bytes());
    }
}

// The old block is lost then, without being freed, and the context can still be used and closed.
TEST(BufferDecoders, TwoWhenTheBufferCannotGrow) {
    for (const bool quoted : {false, true}) {
        BufferTest test;
        test.host().journal().fail(Entry::kReallocate, {1, false});
        EXPECT_EQ(EML_NO_MEMORY, quoted ? test.quotedPrintable(std::string(5000, 'a'), 0)
                                        : test.base64(repeated("TWFu", 2000)));
        EXPECT_EQ(nullptr, test.buffer().data);
        EXPECT_EQ(1u, test.host().heap().lostBlocks());
        EXPECT_EQ(EML_OK, test.quotedPrintable("abc", 0));
        EXPECT_EQ("abc", test.bytes());
    }
}

}  // namespace
