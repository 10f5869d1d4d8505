// The filter's input reader: what it hands out, what it keeps back, and what it asks of the file.
#include "filter/input_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "reference/input_cuts.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

// A context that reads a message, without anything that an open does.
struct ReaderUnderTest {
    explicit ReaderUnderTest(const std::string& message, HostOptions options = {})
        : host(message, options), context(std::make_unique<EmlFilterContext>()) {
        context->services = &host.services();
        context->io = &host.input();
        context->input.carryPos = context->input.carry;
        forgetInput(*context);
        EXPECT_NE(host.input().open(&host.input()), 0);
    }

    void setBoundary(const std::string& text) {
        boundary = text;
        context->boundary.text = boundary.data();
        context->boundary.length = static_cast<int32_t>(boundary.size());
        context->boundary.finder =
            SubstringFinder(reinterpret_cast<const uint8_t*>(boundary.data()), boundary.size());
    }

    // The next piece; also holds what is true after every read that does not serve from the carry-over area.
    std::string read(int32_t size) {
        const int32_t count = readBuf(*context, size);
        EXPECT_GE(count, 0);
        EXPECT_EQ(context->input.buffer[count], 0) << "a zero byte stands behind the data";
        return std::string(reinterpret_cast<const char*>(context->input.buffer), static_cast<size_t>(count));
    }

    [[nodiscard]] std::string carried() const {
        return std::string(reinterpret_cast<const char*>(context->input.carryPos),
                           static_cast<size_t>(context->input.carryCount));
    }

    [[nodiscard]] ptrdiff_t inputEnd() const { return context->input.end - context->input.buffer; }

    RecordingHost host;
    std::unique_ptr<EmlFilterContext> context;
    std::string boundary;
};

TEST(InputReader, LfFirstAndCrLfLaterInTheFirstReadIsCrLfThroughout) {
    ReaderUnderTest reader("a\nb\r\nc\n");
    EXPECT_EQ(reader.read(4096), "a\nb\r\n");
    EXPECT_EQ(reader.context->input.lineEndWidth, 2U);
    EXPECT_EQ(reader.context->input.lineEnd[0], '\r');
    EXPECT_EQ(reader.context->input.lineEnd[1], '\n');
}

TEST(InputReader, OnceKnownTheLineEndStays) {
    ReaderUnderTest reader("a\nbcd\r\n\r\ne\r\n");
    EXPECT_EQ(reader.read(3), "a\n");
    EXPECT_EQ(reader.context->input.lineEndWidth, 1U);
    while (!reader.read(4096).empty()) {
    }
    EXPECT_EQ(reader.context->input.lineEndWidth, 1U);
    EXPECT_EQ(reader.context->input.lineEnd[0], '\n');
}

TEST(InputReader, CrLfThatTheFirstReadCutsInHalfIsALoneCr) {
    ReaderUnderTest reader("abc\r\ndef\r\n");
    EXPECT_EQ(reader.read(4), "abc\r");
    EXPECT_EQ(reader.context->input.lineEndWidth, 1U);
    EXPECT_EQ(reader.context->input.lineEnd[0], '\r');
}

TEST(InputReader, LineEndIsLookedForUntilABufferHasOne) {
    ReaderUnderTest reader("abcdefgh\ni");
    EXPECT_EQ(reader.read(4), "abcd");
    EXPECT_EQ(reader.context->input.lineEndWidth, 0U);
    EXPECT_EQ(reader.read(4096), "efgh\n");
    EXPECT_EQ(reader.context->input.lineEndWidth, 1U);
    EXPECT_EQ(reader.carried(), "i");
}

TEST(InputReader, FullBufferWithoutALineEndIsReturnedWhole) {
    ReaderUnderTest reader(std::string(5000, 'x'));
    EXPECT_EQ(reader.read(4096).size(), 4096U);
    EXPECT_EQ(reader.context->input.carryCount, 0);
    EXPECT_EQ(reader.read(4096).size(), 904U);
    EXPECT_EQ(reader.read(4096), "");
}

TEST(InputReader, BoundaryAtTheStartOfAShortBufferCutsItToNothing) {
    ReaderUnderTest reader("--b\r\nthe whole text\r\n");
    reader.setBoundary("--b");
    EXPECT_EQ(reader.read(4096), "");
    EXPECT_EQ(reader.carried(), "--b\r\nthe whole text\r\n");
    EXPECT_EQ(reader.context->input.readCount, 0);
    EXPECT_EQ(reader.inputEnd(), 0);
    // The next call reads nothing more and gives it as it is, without a cut.
    EXPECT_EQ(reader.read(4096), "--b\r\nthe whole text\r\n");
    EXPECT_EQ(reader.context->input.carryCount, 0);
    EXPECT_EQ(reader.read(4096), "");
}

TEST(InputReader, BoundaryAtTheStartOfAFullBufferMakesNoCutAndReplaysNothing) {
    std::string message = "--b\r\n" + std::string(4091, 'x') + "tail\r\n";
    ReaderUnderTest reader(message);
    reader.setBoundary("--b");
    // No boundary cut: the line cut after the only line end is made instead.
    EXPECT_EQ(reader.read(4096), "--b\r\n");
    EXPECT_EQ(reader.context->input.carryCount, 4091);
    // Without any line end there is no cut at all, and nothing may be carried over.
    ReaderUnderTest bare("--b" + std::string(4093, 'x') + "tail");
    bare.setBoundary("--b");
    EXPECT_EQ(bare.read(4096).size(), 4096U);
    EXPECT_EQ(bare.context->input.carryCount, 0);
    EXPECT_EQ(bare.read(4096), "tail");
    EXPECT_EQ(bare.read(4096), "");
}

TEST(InputReader, BoundaryCutComesBeforeTheLineCut) {
    ReaderUnderTest reader("text\r\n\r\nmore\r\n--b\r\nlast\r\n\r\nx");
    reader.setBoundary("--b");
    EXPECT_EQ(reader.read(4096), "text\r\n\r\nmore\r\n");
    EXPECT_EQ(reader.carried(), "--b\r\nlast\r\n\r\nx");
}

TEST(InputReader, EndOfTheDataIsHandedOutWithoutCuts) {
    ReaderUnderTest reader("one\r\ntwo");
    EXPECT_EQ(reader.read(4096), "one\r\n");
    EXPECT_EQ(reader.read(4096), "two") << "the carried bytes, as they are";
    EXPECT_EQ(reader.context->input.readCount, 8);
    EXPECT_EQ(reader.read(4096), "");
    EXPECT_EQ(reader.context->input.readCount, 8);
}

// KEPT rule: the end of the buffer does not follow a read that the carry-over area alone serves.
TEST(InputReader, FewerBytesThanAreCarriedLeaveTheEndWhereItWas) {
    ReaderUnderTest reader("abcdefgh\r\n0123456789");
    EXPECT_EQ(reader.read(4096), "abcdefgh\r\n");
    ASSERT_EQ(reader.inputEnd(), 10);
    const uint64_t reads = reader.host.journal().calls(Entry::kInputRead);
    EXPECT_EQ(reader.read(3), "012");
    EXPECT_EQ(reader.inputEnd(), 10) << "deliberately not 3";
    EXPECT_EQ(reader.context->input.readCount, 13);
    EXPECT_EQ(reader.read(7), "3456789") << "all that is left, exactly";
    EXPECT_EQ(reader.inputEnd(), 10);
    EXPECT_EQ(reader.context->input.carryCount, 0);
    EXPECT_EQ(reader.host.journal().calls(Entry::kInputRead), reads) << "nothing is read for that";
}

TEST(InputReader, MoreThanIsCarriedIsReadBehindIt) {
    ReaderUnderTest reader("ab\r\ncdef");
    EXPECT_EQ(reader.read(6), "ab\r\n");
    EXPECT_EQ(reader.carried(), "cd");
    EXPECT_EQ(reader.read(5), "cdef");
}

TEST(InputReader, NothingIsAskedForWithASizeBelowOne) {
    ReaderUnderTest reader("abc");
    EXPECT_EQ(readBuf(*reader.context, 0), 0);
    EXPECT_EQ(readBuf(*reader.context, -1), 0);
    EXPECT_EQ(readBuf(*reader.context, INT32_MIN), 0);
    EXPECT_EQ(reader.host.journal().calls(Entry::kInputRead), 0U);
}

TEST(InputReader, BodyPassCutsNothingAndLearnsNoLineEnd) {
    ReaderUnderTest reader("ab\r\n--b\r\n\r\ncd");
    reader.setBoundary("--b");
    reader.context->body.running = true;
    EXPECT_EQ(reader.read(4096), "ab\r\n--b\r\n\r\ncd");
    EXPECT_EQ(reader.context->input.lineEndWidth, 0U);
    EXPECT_EQ(reader.context->input.carryCount, 0);
}

TEST(InputReader, FileThatFailsIsAtItsEnd) {
    ReaderUnderTest reader("one\r\ntwo");
    EXPECT_EQ(reader.read(4096), "one\r\n");
    reader.host.journal().fail(Entry::kInputRead, {1, true});
    EXPECT_EQ(reader.read(4096), "two");
    EXPECT_EQ(reader.read(4096), "");
    ReaderUnderTest negative("one", {.readStyle = ReadStyle::kMinusOne});
    EXPECT_EQ(negative.read(4096), "");
}

TEST(InputReader, AnswersBeyondWhatWasAskedAreClamped) {
    ReaderUnderTest reader(std::string(8192, 'x'), {.readStyle = ReadStyle::kMoreThanAsked});
    EXPECT_EQ(reader.read(4096).size(), 4096U);
    EXPECT_EQ(reader.read(100).size(), 100U);
}

TEST(InputReader, BytesBehindTheLargestOffsetCountAsAbsent) {
    ReaderUnderTest reader(std::string(100, 'x'));
    reader.context->input.readCount = INT32_MAX - 10;
    EXPECT_EQ(reader.read(4096).size(), 10U);
    EXPECT_EQ(readBuf(*reader.context, 4096), 0);
    EXPECT_EQ(reader.context->input.readCount, INT32_MAX);
}

TEST(InputReader, ReadsNeverAskForMoreThanABuffer) {
    // The host notes any read of more than 4096 bytes.
    ReaderUnderTest reader(std::string(10000, 'x'));
    EXPECT_EQ(reader.read(INT32_MAX).size(), 4096U);
    EXPECT_EQ(reader.read(5000).size(), 4096U);
}

// Lines, empty lines, boundaries and zero bytes in any order.
std::string randomMessage(std::mt19937& random) {
    static const std::string kPieces[] = {"\r\n", "\n",  "\r",  "\r\n\r\n", "--b", "--B",
                                          "\0"s,  "abc", "--b", "\n\n",     "x",   std::string(300, 'y')};
    std::string message;
    const size_t length = random() % 12000;
    while (message.size() < length) message += kPieces[random() % (random() % 3 == 0 ? 12 : 10)];
    if (random() % 4 == 0) message.insert(0, 4096 - random() % 8, 'z');
    return message;
}

void expectEqual(const ReaderUnderTest& real, const reference::Reader& model) {
    const EmlFilterContext& context = *real.context;
    ASSERT_EQ(real.inputEnd(), model.inputEnd);
    ASSERT_EQ(context.input.readCount, model.readCount);
    ASSERT_EQ(real.carried(), model.carry);
    ASSERT_EQ(context.input.lineEndWidth, static_cast<uint32_t>(model.lineEnd.width));
    ASSERT_EQ(context.input.lineEnd[0], static_cast<uint8_t>(model.lineEnd.first));
    ASSERT_EQ(context.input.lineEnd[1], static_cast<uint8_t>(model.lineEnd.second));
}

TEST(InputReader, ReadsLikeTheReference) {
    std::mt19937 random(7);
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(round);
        const ReadStyle style = round % 3 == 0 ? ReadStyle::kHalf : ReadStyle::kFull;
        reference::Reader model;
        model.message = randomMessage(random);
        ReaderUnderTest real(model.message, {.readStyle = style});
        if (round % 2 == 0) real.setBoundary(model.boundary = "--b");
        for (int call = 0; call < 40; ++call) {
            const int size = random() % 3 == 0 ? static_cast<int>(random() % 400) : 4096;
            const auto asked = static_cast<int>(static_cast<size_t>(size) -
                                                std::min(static_cast<size_t>(size), model.carry.size()));
            model.step = style == ReadStyle::kHalf ? static_cast<size_t>((asked + 1) / 2) : 4096;
            model.inBody = random() % 8 == 0;
            real.context->body.running = model.inBody;
            const int expected = model.read(size);
            ASSERT_EQ(readBuf(*real.context, size), expected);
            ASSERT_EQ(std::memcmp(real.context->input.buffer, model.input.data(),
                                  static_cast<size_t>(expected) + 1),
                      0);
            ASSERT_NO_FATAL_FAILURE(expectEqual(real, model));
        }
    }
}

TEST(InputBytes, WithoutALimitOnlyTheBufferIsServed) {
    ReaderUnderTest reader("abc");
    EXPECT_EQ(reader.read(2), "ab");
    reader.context->input.readPos = reader.context->input.buffer;
    EXPECT_EQ(emlgetc(*reader.context, 0), 'a');
    EXPECT_EQ(emlgetc(*reader.context, -5), 'b');
    const uint64_t reads = reader.host.journal().calls(Entry::kInputRead);
    EXPECT_EQ(emlgetc(*reader.context, 0), -1) << "exhausted";
    EXPECT_EQ(emlgetc(*reader.context, -1), -1);
    EXPECT_EQ(reader.host.journal().calls(Entry::kInputRead), reads) << "and no refill";
}

TEST(InputBytes, BytesAreUnsigned) {
    ReaderUnderTest reader("\xFF\x80\0z"s);
    EXPECT_EQ(emlgetc(*reader.context, 4), 255);
    EXPECT_EQ(emlgetc(*reader.context, 4), 128);
    EXPECT_EQ(emlgetc(*reader.context, 4), 0);
    EXPECT_EQ(emlgetc(*reader.context, 4), 'z');
    EXPECT_EQ(emlgetc(*reader.context, 4), -1);
}

TEST(InputBytes, LimitBoundsWhatIsRead) {
    ReaderUnderTest reader(std::string(10000, 'x'));
    reader.context->body.running = true;
    for (int i = 0; i < 5000; ++i) ASSERT_EQ(emlgetc(*reader.context, 5000), 'x') << i;
    EXPECT_EQ(emlgetc(*reader.context, 5000), -1);
    EXPECT_EQ(reader.host.bytesRead(), 5000U) << "4096 and the 904 that are left";
}

TEST(InputBytes, NothingHandedOutYetMeansARefill) {
    ReaderUnderTest reader("abcdef");
    EXPECT_EQ(reader.read(3), "abc");
    reader.context->input.readPos = reader.context->input.buffer;
    reader.context->input.readCount = 0;
    EXPECT_EQ(emlgetc(*reader.context, 10), 'd') << "what stands in the buffer is stale";
}

TEST(InputBytes, ServeLikeTheReference) {
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        reference::Reader model;
        model.message = randomMessage(random);
        ReaderUnderTest real(model.message);
        model.inBody = round % 2 == 0;
        real.context->body.running = model.inBody;
        const int limit = static_cast<int>(random() % 15000);
        for (int i = 0; i < 13000; ++i) {
            const int asked = random() % 50 == 0 ? 0 : limit;
            const int expected = model.next(asked);
            ASSERT_EQ(emlgetc(*real.context, asked), expected) << round << " " << i;
            if (expected < 0 && asked > 0) break;
        }
    }
}

// With a limit what stands unread in the buffer counts only when it has been handed out since the last reset.
TEST(InputRuns, WhatStandsUnreadInTheBuffer) {
    const struct {
        const char* rule;
        int32_t limit;
        int32_t handedOut;
        const char* run;
    } rows[] = {
        {"without a limit it is served", 0, 0, "abc"},
        {"with one too, when it was handed out", 10, 3, "abc"},
        {"nothing handed out: it is stale", 10, 0, "def"},
    };
    for (const auto& row : rows) {
        ReaderUnderTest single("abcdef");
        ReaderUnderTest runs("abcdef");
        for (ReaderUnderTest* const reader : {&single, &runs}) {
            EXPECT_EQ(reader->read(3), "abc");
            reader->context->input.readPos = reader->context->input.buffer;
            reader->context->input.readCount = row.handedOut;
        }
        const InputRun run = takeRun(*runs.context, row.limit);
        EXPECT_EQ(std::string(run.begin, run.end), row.run) << row.rule;
        EXPECT_EQ(emlgetc(*single.context, row.limit), row.run[0]) << row.rule;
    }
}

// A run is what single bytes would be: the body decoders use it instead of them.
TEST(InputRuns, AreTheBytesThatWouldBeServedOneByOne) {
    std::mt19937 random(13);
    for (int round = 0; round < 200; ++round) {
        const std::string message = randomMessage(random);
        const auto limit = static_cast<int32_t>(random() % 15000);
        const ReadStyle style = round % 2 == 0 ? ReadStyle::kHalf : ReadStyle::kFull;
        ReaderUnderTest single(message, {.readStyle = style});
        ReaderUnderTest runs(message, {.readStyle = style});
        single.context->body.running = runs.context->body.running = true;
        for (;;) {
            const InputRun run = takeRun(*runs.context, limit);
            for (const uint8_t* at = run.begin; at < run.end; ++at)
                ASSERT_EQ(emlgetc(*single.context, limit), *at);
            if (run.begin != run.end) continue;
            ASSERT_EQ(emlgetc(*single.context, limit), -1);
            break;
        }
    }
}

}  // namespace
}  // namespace eml::test
