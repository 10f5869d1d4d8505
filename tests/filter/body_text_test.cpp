// Body bytes and encoded words as text: the plain step in both modes, the decoders, the limits, the codes.
#include "filter/body_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "filter/record_stream.h"
#include "filter/transfer_decoders.h"
#include "reference/filter_text.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

using reference::charsetRecord;
using reference::lineBreakRecord;
using reference::tabRecord;
using reference::textRecord;

// A context whose input stands in a block of exactly its own size and the byte after it.
struct Body {
    explicit Body(const std::string& bytes, char behind = '\0', HostOptions options = {})
        : host(bytes, options),
          context(std::make_unique<EmlFilterContext>()),
          input(bytes.begin(), bytes.end()) {
        input.push_back(static_cast<uint8_t>(behind));
        input.shrink_to_fit();
        context->services = &host.services();
        context->io = &host.input();
        context->kernels = &chooseKernels();
        context->input.carryPos = context->input.carry;
        context->input.readPos = input.data();
        context->input.end = input.data() + bytes.size();
        EXPECT_NE(host.input().open(&host.input()), 0);
    }
    ~Body() {
        context->body.decoded.release(host.services().allocator);
        context->request.value.release(host.services().allocator);
    }
    Body(const Body&) = delete;
    Body& operator=(const Body&) = delete;

    // The body is in the file, not in the buffer.
    void inFile() {
        context->body.length = static_cast<int32_t>(input.size() - 1);
        context->body.running = true;
        forgetInput(*context);
    }

    void open(std::vector<uint8_t>& buffer, size_t capacity, size_t limit) {
        buffer.assign(capacity + 32, uint8_t{0xA5});
        openRecordOutput(*context, buffer.data(), capacity, static_cast<int32_t>(limit));
        context->output.full = false;
        context->body.textWaits = false;
    }

    [[nodiscard]] std::string written() const {
        return std::string(reinterpret_cast<const char*>(context->output.start), recordBytes(*context));
    }

    [[nodiscard]] std::string field() const {
        return std::string(reinterpret_cast<const char*>(context->request.value.data),
                           context->request.value.length);
    }

    RecordingHost host;
    std::unique_ptr<EmlFilterContext> context;
    std::vector<uint8_t> input;
};

std::string streamed(const std::string& bytes, char behind = '\0') {
    Body body(bytes, behind);
    std::vector<uint8_t> buffer;
    body.open(buffer, 100000, 90000);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_FALSE(body.context->output.full);
    EXPECT_FALSE(body.context->body.textWaits);
    EXPECT_EQ(body.context->input.readPos, body.context->input.end);
    EXPECT_EQ(body.context->body.converted, static_cast<int32_t>(bytes.size()))
        << "bytes that are dropped count";
    return body.written();
}

std::string gathered(const std::string& bytes, char behind = '\0') {
    Body body(bytes, behind);
    EXPECT_TRUE(processEMLplainbody(*body.context, true));
    EXPECT_FALSE(body.context->output.full);
    return body.field();
}

void forEachText(const std::string& letters, size_t longest,
                 const std::function<void(const std::string&)>& use) {
    std::vector<std::string> texts{""};
    for (size_t length = 0; length <= longest; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            use(text);
            for (const char letter : letters) longer.push_back(text + letter);
        }
        texts = std::move(longer);
        if (length == longest) return;
    }
}

struct PlainCase {
    const char* rule;
    std::string bytes;
    std::string records;
    std::string field;
};

// KEPT rules are among them: zero bytes, tabs in a field, the single last byte.
TEST(PlainText, Table) {
    const PlainCase cases[] = {
        {"nothing", "", "", ""},
        {"a run", "abc", textRecord("abc"), "abc"},
        {"LF", "ab\ncd", textRecord("ab") + lineBreakRecord() + textRecord("cd"), "ab cd"},
        {"CR", "ab\rcd", textRecord("ab") + lineBreakRecord() + textRecord("cd"), "ab cd"},
        {"CR LF is one line break", "ab\r\ncd", textRecord("ab") + lineBreakRecord() + textRecord("cd"),
         "ab cd"},
        {"LF CR are two", "ab\n\rcd",
         textRecord("ab") + lineBreakRecord() + lineBreakRecord() + textRecord("cd"), "ab  cd"},
        {"CR CR LF are two", "ab\r\r\ncd",
         textRecord("ab") + lineBreakRecord() + lineBreakRecord() + textRecord("cd"), "ab  cd"},
        {"CR at the end of the buffer", "ab\r", textRecord("ab") + lineBreakRecord(), "ab "},
        {"LF at the start of the buffer", "\nab", lineBreakRecord() + textRecord("ab"), " ab"},
        {"a zero byte ends a run and is dropped", "ab\0cd"s, textRecord("ab") + textRecord("cd"), "abcd"},
        {"zero bytes alone", "\0\0\0"s, "", ""},
        {"a tab", "ab\tcd", textRecord("ab") + tabRecord() + textRecord("cd"), "abcd"},
        {"tabs alone", "\t\t", tabRecord() + tabRecord(), ""},
        {"one byte alone is dropped", "a", "", ""},
        {"one byte behind the last line break is dropped", "ab\nc", textRecord("ab") + lineBreakRecord(),
         "ab "},
        {"one byte behind a tab is dropped", "ab\tc", textRecord("ab") + tabRecord(), "ab"},
        {"one byte behind a zero byte is dropped", "ab\0c"s, textRecord("ab"), "ab"},
        {"one byte before a line break is not", "a\n", textRecord("a") + lineBreakRecord(), "a "},
        {"one byte before a zero byte is not", "a\0"s, textRecord("a"), "a"},
        {"two bytes are not", "\nbc", lineBreakRecord() + textRecord("bc"), " bc"},
        {"bytes from 0x80 up are text", "\x80\xFF", textRecord("\x80\xFF"), "\x80\xFF"},
        {"control bytes are text", "\x01\x0B\x0C\x1F", textRecord("\x01\x0B\x0C\x1F"), "\x01\x0B\x0C\x1F"},
    };
    for (const PlainCase& test : cases) {
        EXPECT_EQ(escaped(streamed(test.bytes)), escaped(test.records)) << test.rule;
        EXPECT_EQ(escaped(gathered(test.bytes)), escaped(test.field)) << test.rule;
    }
}

TEST(PlainText, SingleLastByteStaysWhereNoZeroByteIsBehindIt) {
    EXPECT_EQ(streamed("a", '?'), textRecord("a"));
    EXPECT_EQ(streamed("ab\nc", '?'), textRecord("ab") + lineBreakRecord() + textRecord("c"));
    EXPECT_EQ(gathered("a", '?'), "a");
    EXPECT_EQ(gathered("a", '\n'), "a");
}

TEST(PlainText, EveryShortTextInBothModes) {
    forEachText("ab\r\n\t\0"s, 6, [](const std::string& bytes) {
        std::string rest = bytes;
        reference::Buffer buffer{100000, 90000, {}, false};
        (void)reference::convert(rest, buffer);
        ASSERT_EQ(streamed(bytes), buffer.bytes) << escaped(bytes);
        ASSERT_EQ(gathered(bytes), reference::fieldText(bytes)) << escaped(bytes);
        ASSERT_EQ(gathered(bytes, 'x'), reference::fieldText(bytes, false)) << escaped(bytes);
    });
}

// Short runs have a loop of their own, which is entered after one and has bytes of text before it: here every
// neighbourhood of ends, of bytes that look like one, and of bytes that are none.
TEST(PlainText, EveryNeighbourhoodOfShortRuns) {
    forEachText("a\r\n\t\0\x0E\x01\x80"s, 4, [](const std::string& middle) {
        for (const char* before : {"\n", "\nab", "\nabcde"}) {
            const std::string bytes = before + middle + "\nfour\teight on\n and more text";
            std::string rest = bytes;
            reference::Buffer buffer{100000, 90000, {}, false};
            (void)reference::convert(rest, buffer);
            ASSERT_EQ(streamed(bytes), buffer.bytes) << escaped(bytes);
        }
    });
}

// Converts with one buffer after the other, and the reference beside it.
void expectPiecesLikeTheReference(const std::string& bytes, size_t capacity, size_t limit) {
    Body body(bytes);
    std::string rest = bytes;
    for (int call = 0; call < 60; ++call) {
        std::vector<uint8_t> buffer;
        body.open(buffer, capacity, limit);
        const uint8_t* const before = body.context->input.readPos;
        ASSERT_TRUE(processEMLplainbody(*body.context, false));
        reference::Buffer model{capacity, limit, {}, false};
        (void)reference::convert(rest, model);
        ASSERT_EQ(body.written(), model.bytes) << call;
        ASSERT_EQ(body.context->output.full, model.full) << call;
        ASSERT_EQ(body.context->body.textWaits, model.full) << call;
        ASSERT_EQ(static_cast<size_t>(body.context->input.end - body.context->input.readPos), rest.size())
            << call;
        for (size_t i = model.bytes.size(); i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << call;
        if (!model.full || body.context->input.readPos == before) return;
    }
}

TEST(PlainText, StopsWhereTheBufferIsFull) {
    std::mt19937 random(5);
    const std::string letters = "aaaaaaabbbbbb\r\n\n\t\0"s;
    for (int round = 0; round < 400; ++round) {
        std::string bytes;
        const size_t from = random() % 2 * 7;  // every other one has only short runs
        for (size_t i = random() % 150; i > 0; --i)
            bytes += letters[from + random() % (letters.size() - from)];
        for (size_t capacity = 0; capacity <= 160; capacity += 1 + random() % 7) {
            SCOPED_TRACE(escaped(bytes) + " at " + std::to_string(capacity));
            ASSERT_NO_FATAL_FAILURE(expectPiecesLikeTheReference(bytes, capacity, capacity * 9 / 10));
            // Limits that are no nine tenths show which of the two bounds counts.
            ASSERT_NO_FATAL_FAILURE(expectPiecesLikeTheReference(bytes, capacity, capacity));
            ASSERT_NO_FATAL_FAILURE(expectPiecesLikeTheReference(bytes, capacity + 50, capacity));
        }
    }
}

TEST(PlainText, RunIsCutToTheTextThatIsLeftItsHeaderNotCounted) {
    Body body(std::string(100, 'x'));
    std::vector<uint8_t> buffer;
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(), textRecord(std::string(60, 'x')));
    EXPECT_TRUE(body.context->output.full);
    EXPECT_TRUE(body.context->body.textWaits);
    EXPECT_EQ(body.context->input.end - body.context->input.readPos, 40);
    EXPECT_EQ(body.context->body.converted, 60);
}

// Every flush is cut, not only the last one.
TEST(PlainText, RunBeforeALineEndIsCutToo) {
    Body body(std::string(30, 'a') + "\n" + std::string(30, 'b') + "\ncc");
    std::vector<uint8_t> buffer;
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(),
              textRecord(std::string(30, 'a')) + lineBreakRecord() + textRecord(std::string(16, 'b')));
    EXPECT_TRUE(body.context->output.full);
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(), textRecord(std::string(14, 'b')) + lineBreakRecord() + textRecord("cc"));
    EXPECT_FALSE(body.context->output.full);
}

// Whether the output is full is looked at before each byte, not between a run and the byte that ends it:
// a run that is not cut takes that byte along. A run that is cut ends the call.
TEST(PlainText, RunThatFillsTheOutputTakesTheByteBehindItAlong) {
    const std::string run(60, 'x');
    struct Row {
        std::string bytes;
        size_t capacity;
        std::string records;
        ptrdiff_t left;
    };
    const Row rows[] = {
        {run + "\nyy", 1000, textRecord(run) + lineBreakRecord(), 2},
        {run + "\r\nyy", 1000, textRecord(run) + lineBreakRecord(), 2},
        {run + "\tyy", 1000, textRecord(run) + tabRecord(), 2},
        {run + "\0yy"s, 1000, textRecord(run), 2},
        {run + "\n\nyy", 1000, textRecord(run) + lineBreakRecord(), 3},
        {run + "x\nyy", 1000, textRecord(run), 4},
        {run + "\n", 1000, textRecord(run) + lineBreakRecord(), 0},
        // A record for which there is no room is left to the next call.
        {run + "\nyy", 73, textRecord(run), 3},
        {run + "\nyy", 74, textRecord(run) + lineBreakRecord(), 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(escaped(row.bytes) + " at " + std::to_string(row.capacity));
        Body body(row.bytes);
        std::vector<uint8_t> buffer;
        body.open(buffer, row.capacity, 60);
        EXPECT_TRUE(processEMLplainbody(*body.context, false));
        EXPECT_EQ(escaped(body.written()), escaped(row.records));
        EXPECT_EQ(body.context->input.end - body.context->input.readPos, row.left);
        EXPECT_EQ(body.context->output.full, row.left != 0);
    }
}

// KEPT rule: what a cut leaves as a single last byte is dropped by the next call.
TEST(PlainText, SingleByteThatACutLeavesIsDropped) {
    Body body(std::string(61, 'x'));
    std::vector<uint8_t> buffer;
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_TRUE(body.context->output.full);
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(), "");
    EXPECT_EQ(body.context->input.readPos, body.context->input.end);
    EXPECT_EQ(body.context->body.converted, 61);
}

TEST(PlainText, RunThatJustFitsIsNoCut) {
    Body body(std::string(60, 'x'));
    std::vector<uint8_t> buffer;
    body.open(buffer, 1000, 60);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(), textRecord(std::string(60, 'x')));
    EXPECT_FALSE(body.context->output.full);
    EXPECT_FALSE(body.context->body.textWaits);
}

TEST(PlainText, WhileStagingNothingCountsAsFull) {
    Body body(std::string(20000, 'x') + "\n\t" + std::string(20000, 'y'));
    ASSERT_EQ(beginStaging(*body.context), EML_OK);
    EXPECT_TRUE(processEMLplainbody(*body.context, false));
    EXPECT_EQ(body.written(), textRecord(std::string(20000, 'x')) + lineBreakRecord() + tabRecord() +
                                  textRecord(std::string(20000, 'y')));
    EXPECT_FALSE(body.context->output.full);
    releaseStaging(*body.context);
}

TEST(PlainText, FieldTextIsAppendedToWhatIsThere) {
    Body body("bcd");
    EmlAllocator& allocator = body.host.services().allocator;
    ASSERT_EQ(body.context->request.value.append(allocator, reinterpret_cast<const uint8_t*>("a"), 1),
              EML_OK);
    EXPECT_TRUE(processEMLplainbody(*body.context, true));
    EXPECT_EQ(body.field(), "abcd");
}

TEST(PlainText, MemoryThatRunsOutIsTold) {
    Body field("abc");
    field.host.journal().fail(Entry::kAllocate, {1, true});
    EXPECT_FALSE(processEMLplainbody(*field.context, true));
    Body staged(std::string(5000, 'x'));
    ASSERT_EQ(beginStaging(*staged.context), EML_OK);
    staged.host.journal().fail(Entry::kReallocate, {1, true});
    EXPECT_FALSE(processEMLplainbody(*staged.context, false));
}

// ---- the decoders

using Step = EmlResult (*)(EmlFilterContext&, bool);

// A value in the buffer, as header fields give it.
std::string decodedField(Step step, const std::string& bytes) {
    // What stands after the encoded text must not matter: a zero byte is put after the decoded one.
    Body body(bytes, '?');
    EXPECT_EQ(step(*body.context, true), EML_OK);
    EXPECT_EQ(body.host.journal().calls(Entry::kInputRead), 0U) << "only what is in the buffer";
    return body.field();
}

// A body in the file, as fills give it.
std::string decodedBody(Step step, const std::string& bytes, ReadStyle style = ReadStyle::kFull) {
    Body body(bytes, '?', {.readStyle = style});
    body.inFile();
    std::vector<uint8_t> buffer;
    body.open(buffer, 1000000, 900000);
    EXPECT_EQ(step(*body.context, false), EML_OK);
    EXPECT_EQ(body.context->input.readPos, body.context->input.end);
    EXPECT_EQ(body.context->body.converted, body.context->body.length);
    return body.written();
}

std::string recordsOf(std::string text) {
    reference::Buffer buffer{1000000, 900000, {}, false};
    (void)reference::convert(text, buffer);
    return buffer.bytes;
}

struct DecodeCase {
    const char* rule;
    std::string bytes;
    std::string text;  // decoded, before it becomes text
};

TEST(QuotedPrintableText, Table) {
    const DecodeCase cases[] = {
        {"plain text is copied", "abc def", "abc def"},
        {"underscore is a blank, soft line break is removed", "a_b=3D=\r\nc", "a b=c"},
        {"the same with LF", "a_b=3D=\nc", "a b=c"},
        {"a soft line break with a lone CR", "ab=\rcd", "abcd"},
        {"hexadecimal in both cases", "=c3=A9=C3=a9", "\xC3\xA9\xC3\xA9"},
        {"a second digit that is missing", "=41=4", "A\x7F"},
        {"both digits are missing", "ab=", "ab\xFF"},
        {"no digits: a byte all the same", "=ZZx", "\xFFx"},
        {"the first is no digit", "=G1x", "\xF1x"},
        {"the second is no digit", "=1Gx", "\x7Fx"},
        {"an escape that runs into a line end", "=4\r\nab", "\x7F\nab"},
        {"decoded CR is dropped", "a=0Db=0D=0Ac", "ab\nc"},
        {"decoded blank before CR LF joins the lines", "ab=20\r\ncd", "ab cd"},
        {"decoded blank before CR swallows the byte behind it", "ab=20\rcd", "ab d"},
        {"decoded blank before LF joins nothing", "ab=20\ncd", "ab \ncd"},
        {"decoded blank before another byte", "ab=20cd", "ab cd"},
        {"decoded blank before an escape", "ab=20=41c", "ab Ac"},
        {"decoded blank at the end", "ab=20", "ab "},
        {"decoded blank and CR at the end", "ab=20\r", "ab "},
        {"a blank that is not decoded joins nothing", "ab \r\ncd", "ab \r\ncd"},
        {"an underscore joins nothing", "ab_\r\ncd", "ab \r\ncd"},
        {"decoded underscore stays", "a=5Fb", "a_b"},
        {"soft line break at the end", "ab=\r\n", "ab"},
        {"soft line break, CR at the end", "ab=\r", "ab"},
        {"several soft line breaks", "a=\n=\n=\nbc", "abc"},
        {"bytes from 0x80 up are copied", "\xFF\x80z", "\xFF\x80z"},
        {"zero bytes are copied", "ab\0cd"s, "ab\0cd"s},
        {"nothing", "", ""},
    };
    for (const DecodeCase& test : cases) {
        EXPECT_EQ(escaped(reference::filterQuotedPrintable(test.bytes)), escaped(test.text)) << test.rule;
        EXPECT_EQ(escaped(decodedField(processEMLqpbody, test.bytes)),
                  escaped(reference::fieldText(test.text)))
            << test.rule;
        EXPECT_EQ(escaped(decodedBody(processEMLqpbody, test.bytes)), escaped(recordsOf(test.text)))
            << test.rule;
    }
}

// KEPT rule: "_" is a blank in whole bodies too, also while the body pass is marked as running.
TEST(QuotedPrintableText, UnderscoreIsABlankInBodiesAndFields) {
    EXPECT_EQ(decodedField(processEMLqpbody, "_a_"), " a ");
    EXPECT_EQ(decodedBody(processEMLqpbody, "_a_"), textRecord(" a "));
}

TEST(QuotedPrintableText, EveryShortText) {
    forEachText("a=\r\n402D"s, 5, [](const std::string& bytes) {
        ASSERT_EQ(decodedField(processEMLqpbody, bytes),
                  reference::fieldText(reference::filterQuotedPrintable(bytes)))
            << escaped(bytes);
    });
}

TEST(Base64Text, Table) {
    const DecodeCase cases[] = {
        {"two groups on two lines, up to the boundary line", "QUJD\r\nREVG\r\n--b\r\nQUJD", "ABCDEF"},
        {"one byte, and the rest is ignored", "QQ==\r\nQUJD", "A"},
        {"two bytes, and the rest is ignored", "QUI=QUJD", "AB"},
        {"a dash inside a group is skipped", "QU-JD", "ABC"},
        {"a dash where a group would begin ends", "QUJD-REVG", "ABC"},
        {"invalid bytes are skipped", "Q.U J\tD\r\n", "ABC"},
        {"an incomplete group is dropped", "QUJDRE", "ABC"},
        {"padding that is not complete drops the group", "QUJDQQ=", "ABC"},
        {"padding as the first character", "=UJDQUJD", ""},
        {"padding as the second character", "Q=JDQUJD", ""},
        {"padding as the third character: one byte", "QU=DQUJD", "A"},
        {"decoded CR is dropped", "YQ0KYmM=", "a\nbc"},
        {"decoded CR as the first byte", "DWFi", "ab"},
        {"all bits", "//+/", "\xFF\xFF\xBF"},
        {"a zero byte in the input is skipped", "QU\0JD"s, "ABC"},
        {"nothing", "", ""},
        {"nothing that is valid", "\r\n \r\n", ""},
    };
    for (const DecodeCase& test : cases) {
        EXPECT_EQ(escaped(reference::filterBase64(test.bytes)), escaped(test.text)) << test.rule;
        EXPECT_EQ(escaped(decodedField(processEMLbase64body, test.bytes)),
                  escaped(reference::fieldText(test.text)))
            << test.rule;
        EXPECT_EQ(escaped(decodedBody(processEMLbase64body, test.bytes)), escaped(recordsOf(test.text)))
            << test.rule;
    }
}

TEST(Base64Text, EveryShortText) {
    forEachText("QN=-\r0"s, 6, [](const std::string& bytes) {
        ASSERT_EQ(decodedField(processEMLbase64body, bytes),
                  reference::fieldText(reference::filterBase64(bytes)))
            << escaped(bytes);
    });
}

std::string randomBody(std::mt19937& random, const std::string& letters, size_t length) {
    std::string bytes;
    while (bytes.size() < length) bytes += letters[random() % letters.size()];
    return bytes;
}

// Bodies over several reads, whole ones and short ones: the reads must not show.
TEST(DecodedText, ReadsOfTheFileDoNotShow) {
    std::mt19937 random(17);
    for (int round = 0; round < 60; ++round) {
        for (const ReadStyle style : {ReadStyle::kFull, ReadStyle::kHalf, ReadStyle::kOneByte}) {
            const size_t length = random() % (style == ReadStyle::kOneByte ? 600 : 15000);
            const std::string quoted = randomBody(random, "abcdefgh ===2020D0A\r\n\r\n_\t", length);
            ASSERT_EQ(decodedBody(processEMLqpbody, quoted, style),
                      recordsOf(reference::filterQuotedPrintable(quoted)));
            const std::string encoded = randomBody(random, "QUJDREVGYQ0KYmNkZWZnaGlqa2xtbm9w\r\n", length);
            ASSERT_EQ(decodedBody(processEMLbase64body, encoded, style),
                      recordsOf(reference::filterBase64(encoded)));
        }
    }
}

// Both decoders put a zero byte after what they decoded, so that a single last byte is dropped.
TEST(DecodedText, SingleLastByteIsDropped) {
    EXPECT_EQ(decodedField(processEMLqpbody, "a"), "");
    EXPECT_EQ(decodedField(processEMLqpbody, "=41"), "");
    EXPECT_EQ(decodedField(processEMLbase64body, "QQ=="), "");
    EXPECT_EQ(decodedField(processEMLbase64body, "QUI="), "AB");
    EXPECT_EQ(decodedBody(processEMLqpbody, "ab\r\nc"), textRecord("ab") + lineBreakRecord());
    EXPECT_EQ(decodedBody(processEMLbase64body, "YWIKYw=="), textRecord("ab") + lineBreakRecord());
}

// The zero byte always has room, whatever the length of the decoded text.
TEST(DecodedText, ZeroByteBehindItIsInsideTheBlock) {
    for (size_t length = 4085; length <= 4105; ++length) {
        Body body(std::string(length, 'x'), '\0', {.heapMode = HeapMode::kGuarded});
        EXPECT_EQ(processEMLqpbody(*body.context, true), EML_OK);
        EXPECT_EQ(body.field(), std::string(length, 'x'));
    }
}

TEST(DecodedText, FullBufferGoesOnWhereItStopped) {
    std::mt19937 random(19);
    const std::string text = randomBody(random, "abcdefg\n\t", 3000);
    for (const Step step : {processEMLqpbody, processEMLbase64body}) {
        Body body(step == processEMLqpbody ? text : "YWJjZGVmZ2hpamtsbW5vcHFyc3R1dnd4eXo=");
        body.inFile();
        std::string rest = step == processEMLqpbody ? text : "abcdefghijklmnopqrstuvwxyz";
        for (bool first = true; first || !rest.empty(); first = false) {
            std::vector<uint8_t> buffer;
            body.open(buffer, 141, 20);
            // A resumed fill is told by bufferFull.
            body.context->output.full = first ? 0 : 1;
            ASSERT_EQ(step(*body.context, false), EML_OK);
            reference::Buffer model{141, 20, {}, false};
            (void)reference::convert(rest, model);
            ASSERT_EQ(body.written(), model.bytes);
        }
    }
}

// KEPT rule: the codes of the two decoders differ.
TEST(DecodedText, CodesOfAllocationsThatFail) {
    struct {
        const char* name;
        Step step;
        EmlResult growth;
    } const decoders[] = {{"quoted-printable", processEMLqpbody, EML_OBJECT_FAILED},
                          {"base64", processEMLbase64body, EML_NO_MEMORY}};
    for (const auto& decoder : decoders) {
        const std::string body(9000, 'A');
        Body first(body);
        first.host.journal().fail(Entry::kAllocate, {1, false});
        EXPECT_EQ(decoder.step(*first.context, true), EML_OBJECT_FAILED)
            << decoder.name << ", first allocation";

        Body growing(body);
        growing.host.journal().fail(Entry::kReallocate, {1, false});
        EXPECT_EQ(decoder.step(*growing.context, true), decoder.growth) << decoder.name << ", growth";
        EXPECT_EQ(growing.context->body.decoded.data, nullptr) << "the old block is lost by rule";
        EXPECT_EQ(growing.host.heap().lostBlocks(), 1U);

        Body field("QUJDREVG");
        field.host.journal().fail(Entry::kAllocate, {2, false});
        EXPECT_EQ(decoder.step(*field.context, true), EML_OBJECT_FAILED)
            << decoder.name << ", the field's buffer";
    }
}

}  // namespace
}  // namespace eml::test
