// Records byte by byte, the prologue, the staging buffer and its drain.
#include "filter/record_stream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

#include "reference/filter_text.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

constexpr uint8_t kCanary = 0xA5;

// A context with nothing but a record output.
struct RecordOutput {
    explicit RecordOutput(size_t capacity = 4096, HostOptions options = {})
        : host({}, options), context(std::make_unique<EmlFilterContext>()), buffer(capacity + 32, kCanary) {
        context->services = &host.services();
        openRecordOutput(*context, buffer.data(), capacity, static_cast<int32_t>(capacity * 9 / 10));
    }
    ~RecordOutput() { releaseStaging(*context); }
    RecordOutput(const RecordOutput&) = delete;
    RecordOutput& operator=(const RecordOutput&) = delete;

    [[nodiscard]] std::string written() const {
        return std::string(reinterpret_cast<const char*>(context->output.start), recordBytes(*context));
    }

    RecordingHost host;
    std::unique_ptr<EmlFilterContext> context;
    std::vector<uint8_t> buffer;
};

TEST(Records, AreWrittenByteForByte) {
    RecordOutput output;
    EmlFilterContext& context = *output.context;
    struct {
        const char* name;
        Written written;
        std::string bytes;
    } const cases[] = {
        {"text", writeText(context, "abc"), "\0\x0C\0\0\0\x03\0\0\0abc"s},
        {"empty text", writeText(context, ""), "\0\x09\0\0\0\0\0\0\0"s},
        {"text with any byte", writeText(context, reinterpret_cast<const uint8_t*>("\0\xFF\r"), 3),
         "\0\x0C\0\0\0\x03\0\0\0\0\xFF\r"s},
        {"tab", writeTab(context), "\x03\x06\0\0\0\0"s},
        {"bold on", writeAttribute(context, 0x8001), "\x04\x09\0\0\0\x01\x80\0\0"s},
        {"bold off", writeAttribute(context, 1), "\x04\x09\0\0\0\x01\0\0\0"s},
        {"line break", writeLineBreak(context), "\x0D\x05\0\0\0"s},
        {"charset", writeCharset(context, 53), "\x1B\x09\0\0\0\x35\0\0\0"s},
        {"charset of four bytes", writeCharset(context, 0x01020304), "\x1B\x09\0\0\0\x04\x03\x02\x01"s},
    };
    std::string expected;
    for (const auto& test : cases) {
        EXPECT_EQ(test.written, Written::kYes) << test.name;
        expected += test.bytes;
    }
    EXPECT_EQ(output.written(), expected);
}

TEST(Records, LongTextHasItsLengthInFourBytes) {
    RecordOutput output(70000);
    const std::string text(66051, 'x');  // 0x010203
    EXPECT_EQ(writeText(*output.context, text.c_str()), Written::kYes);
    EXPECT_EQ(output.written().substr(0, 9), "\0\x0C\x02\x01\0\x03\x02\x01\0"s);
    EXPECT_EQ(output.written().size(), 66060U);
}

// The prologue, written out: opening, page, tab stops (the last at 10240, which is 0x2800), indents, charset.
const std::string kPrologue =
    "\x0F\x0D\0\0\0"
    "\0\0\0\0"
    "\x0C\0\0\0"
    "\x10\x26\0\0\0"
    "\x02"
    "\xD0\x2F\0\0"
    "\xE0\x3D\0\0"
    "\xA0\x05\0\0"
    "\xA0\x05\0\0"
    "\xA0\x05\0\0"
    "\xA0\x05\0\0"
    "\xFF\xFF\xFF\xFF"
    "\xFF\xFF\xFF\xFF"
    "\x02\x36\0\0\0"
    "\x09\0\0\0"
    "\0\x80\x04\0\0"
    "\0\0\x09\0\0"
    "\0\x80\x0D\0\0"
    "\0\0\x12\0\0"
    "\0\x80\x16\0\0"
    "\0\0\x1B\0\0"
    "\0\x80\x1F\0\0"
    "\0\0\x24\0\0"
    "\0\0\x28\0\0"
    "\x01\x12\0\0\0"
    "\xA0\x05\0\0"
    "\0\0\0\0"
    "\x60\xFA\xFF\xFF"
    "\0"
    "\x1B\x09\0\0\0"s;

TEST(Prologue, IsWrittenByteForByte) {
    RecordOutput output;
    output.context->prologueCharset = EML_CHARSET_UTF_8;
    EXPECT_EQ(writePrologue(*output.context), Written::kYes);
    EXPECT_EQ(output.written(), kPrologue + "\x35\0\0\0"s);
    EXPECT_EQ(output.written().size(), 132U);
}

TEST(Prologue, CharsetThatIsNotKnownIsShownAsTheDefault) {
    RecordOutput output;
    EXPECT_EQ(writePrologue(*output.context), Written::kYes);
    EXPECT_EQ(output.written(), kPrologue + "\x07\0\0\0"s);
    EXPECT_EQ(output.context->charset, 0U) << "it is not changed here";
}

TEST(RecordRoom, RecordThatDoesNotFitIsNotWritten) {
    for (size_t capacity = 0; capacity <= 40; ++capacity) {
        struct {
            Written (*write)(EmlFilterContext&);
            size_t size;
        } const cases[] = {
            {[](EmlFilterContext& context) { return writeText(context, "abcd"); }, 13},
            {[](EmlFilterContext& context) { return writeText(context, ""); }, 9},
            {[](EmlFilterContext& context) { return writeTab(context); }, 6},
            {[](EmlFilterContext& context) { return writeLineBreak(context); }, 5},
            {[](EmlFilterContext& context) { return writeAttribute(context, 1); }, 9},
            {[](EmlFilterContext& context) { return writeCharset(context, 7); }, 9},
        };
        for (const auto& test : cases) {
            RecordOutput output(capacity);
            const Written written = test.write(*output.context);
            EXPECT_EQ(written, test.size <= capacity ? Written::kYes : Written::kFull);
            EXPECT_EQ(output.written().size(), test.size <= capacity ? test.size : 0);
            for (size_t i = output.written().size(); i < output.buffer.size(); ++i)
                ASSERT_EQ(output.buffer[i], kCanary);
        }
    }
}

TEST(RecordRoom, TextRoomIsWhatIsLeftUpToTheLimit) {
    RecordOutput output(100);
    EXPECT_EQ(textRoom(*output.context), 90U);
    (void)writeText(*output.context, std::string(50, 'x').c_str());
    EXPECT_EQ(textRoom(*output.context), 31U);
    EXPECT_FALSE(isFull(*output.context));
    (void)writeText(*output.context, std::string(22, 'x').c_str());
    EXPECT_EQ(textRoom(*output.context), 0U) << "exactly at the limit is full";
    EXPECT_TRUE(isFull(*output.context));
    EXPECT_EQ(writeLineBreak(*output.context), Written::kYes) << "records are bounded by the capacity alone";
    EXPECT_EQ(textRoom(*output.context), 0U);
}

TEST(RecordRoom, WithoutAnOutputNothingIsWritten) {
    RecordOutput output;
    closeRecordOutput(*output.context);
    EXPECT_EQ(writeText(*output.context, "abc"), Written::kNoMemory);
    EXPECT_EQ(writeLineBreak(*output.context), Written::kNoMemory);
    EXPECT_EQ(writePrologue(*output.context), Written::kNoMemory);
}

TEST(Staging, GrowsForEveryKindOfRecordAndKeepsItsContent) {
    // Every block ends at an unreadable page here.
    RecordOutput output(10, {.heapMode = HeapMode::kGuarded});
    EmlFilterContext& context = *output.context;
    ASSERT_EQ(beginStaging(context), EML_OK);
    EXPECT_FALSE(isFull(context));
    std::string expected;
    std::mt19937 random(3);
    for (int i = 0; i < 6000; ++i) {
        const std::string text(random() % 40, static_cast<char>('a' + i % 26));
        switch (random() % 5) {
            case 0:
                ASSERT_EQ(writeText(context, text.c_str()), Written::kYes);
                expected += reference::textRecord(text);
                break;
            case 1:
                ASSERT_EQ(writeTab(context), Written::kYes);
                expected += reference::tabRecord();
                break;
            case 2:
                ASSERT_EQ(writeLineBreak(context), Written::kYes);
                expected += reference::lineBreakRecord();
                break;
            case 3:
                ASSERT_EQ(writeCharset(context, 5), Written::kYes);
                expected += reference::charsetRecord(5);
                break;
            default:
                ASSERT_EQ(writeAttribute(context, 1), Written::kYes);
                expected += "\x04\x09\0\0\0\x01\0\0\0"s;
        }
        ASSERT_FALSE(isFull(context)) << "the staging buffer never counts as full";
    }
    EXPECT_EQ(output.written(), expected);
    EXPECT_LT(output.host.journal().calls(Entry::kReallocate), 20U) << "a long header stays linear";
}

TEST(Staging, TakesOneTextThatIsLargerThanItself) {
    RecordOutput output(10, {.heapMode = HeapMode::kGuarded});
    ASSERT_EQ(beginStaging(*output.context), EML_OK);
    const std::string text(1000000, 'x');
    EXPECT_EQ(writeText(*output.context, text.c_str()), Written::kYes);
    EXPECT_EQ(output.written(), reference::textRecord(text));
}

// KEPT rule: a failed growth loses the old block; nothing is written any more.
TEST(Staging, GrowthThatFailsLosesTheBlock) {
    RecordOutput output;
    ASSERT_EQ(beginStaging(*output.context), EML_OK);
    output.host.journal().fail(Entry::kReallocate, {1, false});
    EXPECT_EQ(writeText(*output.context, std::string(5000, 'x').c_str()), Written::kNoMemory);
    EXPECT_EQ(output.context->staging.data, nullptr);
    EXPECT_EQ(output.host.heap().lostBlocks(), 1U);
    EXPECT_EQ(writeText(*output.context, "a"), Written::kNoMemory);
    releaseStaging(*output.context);
    EXPECT_EQ(output.host.heap().liveBlocks(), 0U);
}

TEST(Staging, FirstBlockThatFails) {
    RecordOutput output;
    output.host.journal().fail(Entry::kAllocate, {1, false});
    EXPECT_EQ(beginStaging(*output.context), EML_NO_MEMORY);
    EXPECT_EQ(output.context->staging.data, nullptr);
}

TEST(Staging, NewOneFreesTheOneThatIsPending) {
    RecordOutput output;
    ASSERT_EQ(beginStaging(*output.context), EML_OK);
    ASSERT_EQ(beginStaging(*output.context), EML_OK);
    EXPECT_EQ(output.host.heap().liveBlocks(), 1U);
}

// Stages `records`, drains them into buffers of `capacity`, and gives the pieces; the flag tells whether the
// last call said that some remain.
std::vector<std::string> drainAll(const std::string& records, uint32_t capacity) {
    RecordOutput output(1, {.heapMode = HeapMode::kPlain});
    EmlFilterContext& context = *output.context;
    EXPECT_EQ(beginStaging(context), EML_OK);
    // Put there as they are, as if they had been written.
    EXPECT_LE(records.size(), size_t{4096});
    std::memcpy(context.output.next, records.data(), records.size());
    context.output.next += records.size();
    finishStaging(context);
    std::vector<std::string> pieces;
    for (;;) {
        std::vector<uint8_t> buffer(capacity + 32, kCanary);
        uint32_t size = 0xA5A5A5A5;
        const bool remains = drainStaging(context, buffer.data(), size, capacity);
        EXPECT_LE(size, capacity);
        for (size_t i = size; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], kCanary) << i;
        pieces.emplace_back(reinterpret_cast<const char*>(buffer.data()), size);
        if (!remains) return pieces;
        EXPECT_NE(size, 0U) << "a drain that leaves something has given something";
        if (size == 0) return pieces;
    }
}

std::vector<std::string> drainReference(std::string records, uint32_t capacity) {
    std::vector<std::string> pieces;
    for (;;) {
        reference::Buffer buffer = reference::bufferOf(capacity);
        const bool remains = !records.empty() && reference::drain(records, buffer);
        pieces.push_back(buffer.bytes);
        if (!remains) return pieces;
    }
}

std::string mixedRecords() {
    using namespace reference;
    return charsetRecord(7) + textRecord("To:") + tabRecord() + textRecord(std::string(211, 'a')) +
           lineBreakRecord() + textRecord("") + textRecord("x") + tabRecord() +
           textRecord(std::string(500, 'b')) + charsetRecord(53);
}

TEST(Drain, EveryCapacityAgainstTheReference) {
    const std::string streams[] = {
        mixedRecords(),
        reference::textRecord(std::string(300, 'a')),
        reference::textRecord(std::string(301, 'a')) + reference::lineBreakRecord(),
        reference::lineBreakRecord() + reference::lineBreakRecord(),
        reference::tabRecord() + reference::textRecord("ab"),
        kPrologue + "\x07\0\0\0"s + mixedRecords(),
        "\x0B\x0B"s + reference::textRecord("lone bytes have no length") + "\x0B"s,
        "",
    };
    for (const std::string& stream : streams) {
        for (uint32_t capacity = 0; capacity <= 300; ++capacity) {
            ASSERT_EQ(drainAll(stream, capacity), drainReference(stream, capacity))
                << capacity << " of " << stream.size();
        }
    }
}

TEST(Drain, LongTextInABufferOfAHundredBytes) {
    std::string text;
    for (int i = 0; i < 250; ++i) text += static_cast<char>('a' + i % 26);
    const std::vector<std::string> pieces = drainAll(reference::textRecord(text), 100);
    ASSERT_EQ(pieces.size(), 3U);
    EXPECT_EQ(pieces[0], reference::textRecord(text.substr(0, 90)));
    EXPECT_EQ(pieces[1], reference::textRecord(text.substr(90, 90)));
    EXPECT_EQ(pieces[2], reference::textRecord(text.substr(180)));
}

TEST(Drain, PiecesOfATextAreEven) {
    for (uint32_t capacity = 11; capacity <= 300; ++capacity) {
        const std::vector<std::string> pieces =
            drainAll(reference::textRecord(std::string(1001, 'x')), capacity);
        const size_t even = capacity % 2 == 0 ? capacity - 10 : capacity - 9;
        for (size_t i = 0; i + 1 < pieces.size(); ++i) ASSERT_EQ(pieces[i].size(), even + 9) << capacity;
    }
}

TEST(Drain, EndsWhereFewerThanTwoBytesCouldBeSplitOff) {
    for (uint32_t capacity = 0; capacity <= 10; ++capacity) {
        EXPECT_EQ(drainAll(reference::textRecord("abcdefghij"), capacity), std::vector<std::string>{""})
            << capacity;
    }
    EXPECT_EQ(drainAll(reference::textRecord("abcdefghij"), 11)[0], reference::textRecord("ab"));
}

TEST(Drain, EndsBeforeARecordThatCanNeverBeDelivered) {
    EXPECT_EQ(drainAll(reference::charsetRecord(7) + reference::textRecord("ab"), 8),
              std::vector<std::string>{""});
    const std::vector<std::string> pieces =
        drainAll(reference::lineBreakRecord() + reference::charsetRecord(7), 8);
    ASSERT_EQ(pieces.size(), 2U) << "what stands before it is delivered";
    EXPECT_EQ(pieces[0], reference::lineBreakRecord());
    EXPECT_EQ(pieces[1], "");
}

TEST(Drain, NothingStagedGivesNothing) {
    for (const uint32_t left : {0U, 5U}) {
        RecordOutput output;
        uint8_t buffer[16] = {};
        uint32_t size = 77;
        output.context->staging.left = left;  // without a position it counts for nothing
        EXPECT_FALSE(drainStaging(*output.context, buffer, size, sizeof buffer));
        EXPECT_EQ(size, 0U);
    }
}

// No writer stages anything else than whole records.
TEST(Drain, EndsBeforeWhatIsNoRecord) {
    const std::string broken[] = {
        "\x03\x06\0\0\0"s,  // longer than what is there
        "\x0D\0\0\0\0"s,    // a length of 0
        "\0\x05\0\0\0"s,    // a text without a length of its own
    };
    for (const std::string& bytes : broken) {
        EXPECT_EQ(drainAll(bytes, 4), std::vector<std::string>{""});
        EXPECT_EQ(drainAll(reference::lineBreakRecord() + bytes, 8),
                  (std::vector<std::string>{reference::lineBreakRecord(), bytes}))
            << "what fits as a whole is not looked into";
    }
}

TEST(RecordWalk, LengthsOfRecords) {
    struct {
        const char* rule;
        std::string bytes;
        uint32_t length;
    } const cases[] = {
        {"nothing", "", 0},
        {"tag 11 is a lone byte", "\x0B", 1},
        {"tag 11 in front of others", "\x0B\x0D\x05\0\0\0"s, 1},
        {"a line break", "\x0D\x05\0\0\0"s, 5},
        {"a text", "\0\x0B\0\0\0\x02\0\0\0ab"s, 11},
        {"a text and more", "\0\x0B\0\0\0\x02\0\0\0abcdef"s, 11},
        {"without a whole length field", "\x0D\x05\0\0"s, 0},
        {"a length of 0", "\x0D\0\0\0\0"s, 0},
        {"a negative length", "\x0D\xFF\xFF\xFF\xFF"s, 0},
        {"longer than what is there", "\x03\x06\0\0\0"s, 0},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(recordLength(reinterpret_cast<const uint8_t*>(test.bytes.data()),
                               static_cast<uint32_t>(test.bytes.size())),
                  test.length)
            << test.rule;
    }
}

}  // namespace
}  // namespace eml::test
