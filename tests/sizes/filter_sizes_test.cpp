// The message filter in messages of more than 2 GiB: it counts in 31 bits, and what is behind them is absent.
#include "filter/input_reader.h"
#include "filter/message_scan.h"
#include "filter/scan_dump.h"
#include "sizes/large_input.h"
#include "support/memory_output.h"

namespace eml::test {
namespace {

// A filter open over a message of `head`, which later goes on at an offset of the test's choice.
class FarFilter {
  public:
    explicit FarFilter(const LargeMessage& message) : host_({}, largeInputOptions()) {
        message.giveTo(host_);
        context_ = emlInitEx(&host_.input(), &host_.services(), 0, 0, 0, &result_);
    }
    ~FarFilter() { emlShutdown(context_); }
    FarFilter(const FarFilter&) = delete;
    FarFilter& operator=(const FarFilter&) = delete;

    [[nodiscard]] bool isOpen() const { return context_ != nullptr; }
    [[nodiscard]] EmlFilterContext& context() { return *context_; }

    // Goes on with another message, of which all bytes before `offset` count as read.
    void goOn(EmlIOobj& input, int64_t offset) {
        EXPECT_NE(input.open(&input), 0);
        EXPECT_NE(input.seek(&input, static_cast<uint32_t>(offset), 0, EML_SEEK_START), 0);
        resetReader(*context_);
        context_->io = &input;
        context_->input.carryPos = context_->input.carry;
        context_->input.readCount = context_->input.offset = static_cast<int32_t>(offset);
        forgetInput(*context_);
    }

    // The message that was opened is closed with the filter.
    void goBack() { context_->io = &host_.input(); }

    [[nodiscard]] std::string extract(int32_t number) {
        MemoryOutput output(host_);
        EXPECT_EQ(emlExtractSubFileToIOobjEx(context_, number, &output.object(), 0, 0, 0), EML_OK);
        return output.bytes();
    }

    [[nodiscard]] int32_t sizeOf(uint32_t attachment) {
        EmlAttachmentInfo info{};
        EXPECT_EQ(emlGetSubFileInfo(context_, attachment, &info), EML_OK);
        return static_cast<int32_t>(info.size);
    }

  private:
    RecordingHost host_;
    EmlResult result_ = EML_OK;
    EmlFilterContext* context_ = nullptr;
};

std::string head() {
    return "Content-Type: multipart/mixed; boundary=\"" + longBoundary() + "\"\r\n\r\n--" + longBoundary() +
           "\r\nContent-Type: text/plain\r\n\r\nthe text\r\n";
}

std::string attachment(const std::string& name, const std::string& content) {
    return "\r\n--" + longBoundary() +
           "\r\nContent-Type: image/x\r\nContent-Disposition: attachment; filename=" + name + "\r\n\r\n" +
           content;
}

TEST(SizesOfTheFilter, TheCountOfReadsEndsAt31Bits) {
    const LargeMessage message(6 * kGigabyte);
    for (const int32_t left : {0, 1, 5, 4095, 4096, 4097, 10000}) {
        RecordingHost host({}, largeInputOptions());
        message.giveTo(host);
        EXPECT_NE(host.input().open(&host.input()), 0);
        const auto context = std::make_unique<EmlFilterContext>();
        context->io = &host.input();
        context->input.carryPos = context->input.carry;
        context->input.readCount = INT32_MAX - left;
        context->body.running = true;
        int64_t handedOut = 0;
        for (int32_t count = readBuf(*context, 4096); count != 0; count = readBuf(*context, 4096)) {
            ASSERT_GT(count, 0);
            handedOut += count;
            ASSERT_LE(handedOut, left);
        }
        EXPECT_EQ(handedOut, left);
        EXPECT_EQ(context->input.readCount, INT32_MAX);
        forgetInput(*context);
        EXPECT_EQ(emlgetc(*context, INT32_MAX), -1);
    }
}

// A message of `size` bytes with an attachment that begins in front of the last byte that counts and ends
// behind it, and one behind it.
LargeMessage farMessage(int64_t size, int64_t before) {
    LargeMessage message(size);
    message.put(INT32_MAX - before, attachment("first", "the first content"));
    message.put(INT32_MAX + int64_t{100}, attachment("second", "the second content"));
    return message;
}

// What the scan finds when it goes on shortly before the end of what it can count.
template <class Look>
void scanNearTheEnd(const LargeMessage& message, int64_t before, Look look) {
    LargeMessage start(static_cast<int64_t>(head().size()));
    start.put(0, head());
    RecordingHost host({}, largeInputOptions());
    message.giveTo(host);
    FarFilter filter(start);
    ASSERT_TRUE(filter.isOpen());
    ASSERT_EQ(filter.context().parts.bodies.count, 1);
    filter.goOn(host.input(), INT32_MAX - before - 2);
    ASSERT_EQ(parseEML(filter.context()), EML_OK);
    look(filter);
    filter.goBack();
}

TEST(SizesOfTheFilter, WhatLiesBehind31BitsIsAbsent) {
    for (const int64_t before : {300, 1000, 4000, 5000, 20000}) {
        SCOPED_TRACE(before);
        const LargeMessage message = farMessage(5 * kGigabyte, before);
        scanNearTheEnd(message, before, [&](FarFilter& filter) {
            const EmlFilterContext& context = filter.context();
            EXPECT_EQ(context.messageSize, INT32_MAX);
            ASSERT_EQ(context.parts.attachments.count, 1);
            EXPECT_STREQ(attachmentName(context, context.parts.attachments.records[0]), "first");
            const auto offset = static_cast<int64_t>(context.parts.attachments.records[0].offset);
            EXPECT_EQ(message.bytes(offset, 9), "the first");
            ASSERT_EQ(context.parts.bodies.count, 2);
            EXPECT_EQ(context.parts.bodies.records[0].end, INT32_MAX - before);
            EXPECT_EQ(context.parts.bodies.records[1].end, INT32_MAX);
            EXPECT_EQ(filter.sizeOf(0), INT32_MAX - offset);
            EXPECT_EQ(filter.extract(1), message.bytes(offset, static_cast<uint32_t>(INT32_MAX - offset)));
        });
    }
}

// Wherever the last boundary stands in the last buffers, also where it is carried over from one to the next.
TEST(SizesOfTheFilter, AMessageThatGoesOnIsTheOneThatEndsAt31Bits) {
    Compared compared;
    for (int64_t before = 1; before < 9000; before += fullLengths() ? 1 : 7) {
        compared.input();
        compared.comparison();
        std::string found[2];
        for (const bool goesOn : {false, true}) {
            const LargeMessage message = farMessage(goesOn ? 5 * kGigabyte : INT32_MAX, before);
            scanNearTheEnd(message, before, [&](FarFilter& filter) {
                found[goesOn ? 1 : 0] = std::to_string(filter.context().messageSize) + " " +
                                        partsOf(filter.context()) + attachmentsOf(filter.context());
            });
        }
        ASSERT_EQ(found[0], found[1]) << before;
    }
}

// Every fill of a text of more than 2 GiB, from near its end.
TEST(SizesOfTheFilter, ProgressNeverGoesBackNorBelowZero) {
    const LargeMessage message(5 * kGigabyte);
    const LargeMessage small(100);
    FarFilter filter(small);
    ASSERT_TRUE(filter.isOpen());
    RecordingHost host({}, largeInputOptions());
    message.giveTo(host);
    EmlFilterContext& context = filter.context();
    filter.goOn(host.input(), 0);
    context.messageSize = INT32_MAX;
    std::string buffer(20000, '\0');
    uint32_t size = 0;
    uint32_t progress = 0;
    ASSERT_EQ(emlFillBufferEx(&context, 0, buffer.data(), &size, &progress, 256, EML_FILL_RESTART), EML_OK);
    while (!context.body.running)
        ASSERT_EQ(emlFillBuffer(&context, buffer.data(), &size, &progress, 256), EML_OK);
    const int32_t length = context.body.length;
    EXPECT_GT(length, INT32_MAX - 100);
    EXPECT_EQ(progress, 0U);
    // Most of the text counts as converted.
    constexpr int32_t kLeft = 300000;
    context.input.readCount = context.body.converted = length - kLeft;
    context.body.textWaits = false;
    forgetInput(context);
    uint32_t before = 0;
    for (int calls = 0; progress < 100; ++calls) {
        ASSERT_LT(calls, 1000);
        ASSERT_EQ(emlFillBuffer(&context, buffer.data(), &size, &progress, 20000), EML_OK);
        ASSERT_GE(progress, before);
        ASSERT_LE(progress, 100U);
        before = progress;
    }
    EXPECT_EQ(context.body.converted, length);
    EXPECT_EQ(context.input.readCount, length);
    filter.goBack();
}

// The open walks through all that it counts.
TEST(SizesOfTheFilter, AWholeMessageOfFiveGigabytes) {
    if (!fullLengths()) GTEST_SKIP() << "EMLREADER_TEST_FULL=1 walks through 2 GiB";
    LargeMessage message(5 * kGigabyte);
    message.put(0, head());
    message.put(INT32_MAX - 5000, attachment("first", "the first content"));
    message.put(INT32_MAX + int64_t{100}, attachment("second", "the second content"));
    FarFilter filter(message);
    ASSERT_TRUE(filter.isOpen());
    EXPECT_EQ(filter.context().messageSize, INT32_MAX);
    ASSERT_EQ(emlGetFileNumber(&filter.context()), 1);
    EXPECT_LT(filter.sizeOf(0), 5000);
    EXPECT_EQ(filter.extract(1).substr(0, 17), "the first content");
}

// A text of more than 2 GiB, all of it converted.
TEST(SizesOfTheFilter, TheWholeTextOfFiveGigabytes) {
    if (!fullLengths()) GTEST_SKIP() << "EMLREADER_TEST_FULL=1 converts 2 GiB";
    LargeMessage message(5 * kGigabyte);
    message.put(0, "Subject: large\r\n\r\n");
    FarFilter filter(message);
    ASSERT_TRUE(filter.isOpen());
    EXPECT_EQ(filter.context().messageSize, INT32_MAX);
    std::string buffer(size_t{1} << 24, '\0');
    uint32_t progress = 0;
    uint64_t bytes = 0;
    for (uint32_t before = 0; progress < 100; before = progress) {
        uint32_t size = 0;
        ASSERT_EQ(emlFillBuffer(&filter.context(), buffer.data(), &size, &progress, 1U << 24), EML_OK);
        ASSERT_GE(progress, before);
        ASSERT_LE(progress, 100U);
        bytes += size;
    }
    EXPECT_GT(bytes, uint64_t{INT32_MAX});
}

}  // namespace
}  // namespace eml::test
