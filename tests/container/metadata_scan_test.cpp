// The scan of the message's header: which lines are fields, and how values are gathered and joined.
#include <gtest/gtest.h>

#include "container/metadata_lists.h"
#include "support/sections.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

// Indexes of the default list.
enum : size_t { kFrom, kDate, kTo, kCc, kBcc, kSubject, kPriority };

struct Row {
    const char* rule;
    std::string header;  // with LF, and without the empty line after it
    size_t index;
    std::string value;
};

const Row kRows[] = {
    {"a value", "Subject: x\n", kSubject, "x"},
    {"case does not matter", "SUBJECT: x\n", kSubject, "x"},
    {"blanks and tabs before it are skipped", "Subject: \t  x \t\n", kSubject, "x \t"},
    {"none are needed", "Subject:x\n", kSubject, "x"},
    {"an empty value leaves the entry alone", "Subject:\n", kSubject, kNoValue},
    {"so do blanks alone", "Subject: \t \n", kSubject, kNoValue},
    {"no separator for an empty value", "To: a\nTo:\nTo: b\n", kTo, "a#####b"},
    {"an empty first value", "To:\nTo: b\n", kTo, "b"},
    {"repeated: joined", "To: A\nTo: B\n", kTo, "A#####B"},
    {"three times, others between", "To: A\nCc: x\nTo: B\nto: C\n", kTo, "A#####B#####C"},
    {"a blank before the colon is another name", "Subject : x\n", kSubject, kNoValue},
    {"a longer name is another", "Subject-Extra: x\n", kSubject, kNoValue},
    {"a name is looked for at the start of a line", "X-Subject: x\n Subject: y\n", kSubject, kNoValue},
    {"folded: joined by one blank", "Subject: a\n b\n", kSubject, "a b"},
    {"blanks of the continuation are skipped", "Subject: a\n \t  b\n\tc\n", kSubject, "a b c"},
    {"KEPT: a value folded at once begins with a blank", "Subject:\n a\n", kSubject, " a"},
    {"KEPT: also after blanks", "Subject:   \n\ta\n", kSubject, " a"},
    {"a continuation of blanks alone gives a blank", "Subject: a\n  \n b\n", kSubject, "a  b"},
    {"a value of blank continuations is no empty one", "Subject:\n \n", kSubject, " "},
    {"a continuation of another field is not taken", "X: 1\n Subject: x\nSubject: y\n", kSubject, "y"},
    {"a continuation as the first line is skipped", " a\nSubject: y\n", kSubject, "y"},
    {"the line that ends a value is a field itself", "Subject: x\nFrom: y\n", kFrom, "y"},
    {"encoded words are decoded", "Subject: =?x?Q?a_b?= c\n", kSubject, "a b c"},
    {"KEPT: a word does not reach across a fold", "Subject: =?x?Q?a\n b?=\n", kSubject, "a b?="},
    {"each line by itself: the encoding does not carry over", "Subject: =?x?Q?a?=\n =?x?Z?_?=\n", kSubject,
     "a _"},
    {"a value ends at a zero byte", "Subject: a\0b\n"s, kSubject, "a"},
    {"and goes on after the fold", "Subject: a\0b\n c\n"s, kSubject, "a c"},
    {"a lone CR ends a line", "Subject: a\rFrom: b\n", kFrom, "b"},
    {"a field named From in mbox style is none", "From a@b Tue\n", kFrom, kNoValue},
    {"8-bit bytes stay", "Subject: Caf\xE9 \xFF\n", kSubject, "Caf\xE9 \xFF"},
    {"Bcc", "Bcc: x\n", kBcc, "x"},
    {"\"Sent:\" is no name in a header", "Sent: x\n", kDate, kNoValue},
};

TEST(HeaderScan, Values) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(defaultValues(row.header + "\nbody\n").at(row.index), row.value);
        if (row.header.find('\r') != std::string::npos) continue;
        EXPECT_EQ(defaultValues(crlf(row.header + "\nbody\n")).at(row.index), row.value) << "with CR LF";
    }
}

TEST(HeaderScan, TheBodyIsNotLookedAt) {
    for (const char* lineEnd : {"\n", "\r\n", "\r"}) {
        const std::string end = lineEnd;
        EXPECT_EQ(defaultValues("To: a" + end + end + "Subject: b" + end).at(kSubject), kNoValue);
    }
    EXPECT_EQ(defaultValues("\nSubject: b\n").at(kSubject), kNoValue) << "an empty header";
    EXPECT_EQ(defaultValues("").at(kSubject), kNoValue) << "an empty file";
    EXPECT_EQ(defaultValues("Subject: only a header\n").at(kSubject), "only a header");
    EXPECT_EQ(defaultValues("Subject: no line end").at(kSubject), "no line end");
    EXPECT_EQ(defaultValues("To: a\n b").at(kTo), "a b");
}

TEST(HeaderScan, PriorityAndItsAliases) {
    struct Case {
        const char* header;
        const char* value;
    };
    const Case cases[] = {
        {"Priority: 1\n", "1"},
        {"X-MSMail-Priority: High\n", "High"},
        {"Importance: High\n", "High"},
        {"IMPORTANCE: low\n", "low"},
        {"X-Priority: 1\n", nullptr},
        {"Importance : High\n", nullptr},
        {"Importance: High\nX-MSMail-Priority: Low\n", "High"},
        {"X-MSMail-Priority: Low\nImportance: High\n", "Low"},
        {"Priority: a\nImportance: b\n", "a"},
        {"Importance: b\nPriority: a\n", "b#####a"},
        {"Importance: a\nPriority: b\nImportance: c\nPriority: d\n", "a#####b#####d"},
        {"Importance:\nX-MSMail-Priority: Low\n", nullptr},
        {"Priority:\nImportance: High\n", nullptr},
        {"Importance: 1 (Highest)\n", "1 (Highest)"},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(defaultValues(crlf(row.header) + "\r\n").at(kPriority),
                  row.value != nullptr ? row.value : kNoValue)
            << row.header;
    }
    const std::string aliased = crlf("Importance: High\nX-MSMail-Priority: Low\n\n");
    EXPECT_EQ(requestedValue(aliased, "Priority"), kNoValue) << "no aliases for requests";
    EXPECT_EQ(requestedValue(aliased, "Importance"), "High");
}

// A line that is longer than a block comes in pieces of 4096 bytes. (One that ends where a block ends:
// below.)
TEST(HeaderScan, LongLinesAreGatheredFromTheirPieces) {
    for (const size_t length : std::initializer_list<size_t>{4080, 4085, 4086, 4088, 4091, 4095, 4096, 4097,
                                                             8182, 8184, 10000, 20000}) {
        SCOPED_TRACE(length);
        std::string value;
        for (size_t i = 0; i < length; ++i) value += static_cast<char>('a' + i % 26);
        const auto subjectOf = [](const std::string& message) { return defaultValues(message).at(kSubject); };
        const auto toOf = [](const std::string& message) { return defaultValues(message).at(kTo); };
        // Not EXPECT_EQ: it would print thousands of letters.
        EXPECT_TRUE(subjectOf("Subject: " + value + "\nTo: b\n\n") == value);
        EXPECT_TRUE(subjectOf("Subject: " + value) == value) << "without its line end";
        EXPECT_TRUE(subjectOf("Subject: a\n " + value + "\n\n") == "a " + value) << "as a continuation";
        EXPECT_TRUE(subjectOf("Subject: " + value + "\n more\n\n") == value + " more");
        EXPECT_EQ(toOf("Subject: " + value + "\nTo: b\n\n"), "b");
        EXPECT_EQ(toOf("X: " + value + "\nTo: b\n\n"), "b") << "skipped as a whole";
    }
}

// "Subject: " and `fill` bytes, so that what follows begins the second piece.
std::string firstPiece(const std::string& end = "") {
    return "Subject: " + std::string(4096 - 9 - end.size(), 'x') + end;
}

TEST(HeaderScan, PiecesAreAppendedAsTheyAre) {
    const std::string filled(4096 - 9, 'x');
    EXPECT_EQ(defaultValues(firstPiece() + "  y\n\n").at(kSubject), filled + "  y") << "no blank is skipped";
    EXPECT_EQ(defaultValues(firstPiece() + "From: y\n\n").at(kFrom), kNoValue) << "a piece is no field";
    EXPECT_EQ(defaultValues(firstPiece() + "From: y\n\n").at(kSubject), filled + "From: y");
    const std::string skipped = "X: " + std::string(4096 - 3, 'x');
    EXPECT_EQ(defaultValues(skipped + "From: y\n\n").at(kFrom), kNoValue) << "nor of a line that is skipped";
    EXPECT_EQ(defaultValues(skipped + std::string(4096, 'z') + "From: y\nFrom: z\n\n").at(kFrom), "z");
}

// Each piece is decoded by itself: a word that the border cuts is two texts.
TEST(HeaderScan, AWordDoesNotReachAcrossPieces) {
    const std::string word = "=?x?Q?a_";
    EXPECT_EQ(defaultValues(firstPiece(word) + "b_c?= d\n\n").at(kSubject),
              std::string(4096 - 9 - word.size(), 'x') + "a b_c?= d");
    const std::string opening = "=?x?";
    EXPECT_EQ(defaultValues(firstPiece(opening) + "Q?a?= d\n\n").at(kSubject),
              std::string(4096 - 9 - opening.size(), 'x') + "Q?a?= d")
        << "the cut word is dropped, its rest is text";
}

// Any read that follows a whole line and begins with a blank continues the value, also a piece of a long
// line.
TEST(HeaderScan, AContinuationMayBeLong) {
    const std::string tail(9000, 'y');
    EXPECT_EQ(defaultValues("Subject: a\n\t" + tail + "\nTo: b\n\n").at(kSubject), "a " + tail);
    EXPECT_EQ(defaultValues("Subject: a\n\t" + tail + "\nTo: b\n\n").at(kTo), "b");
}

// KEPT: a CR that is a block's last byte ends the line by itself; the LF after it reads as an empty line,
// and the header ends there.
TEST(HeaderScan, ACrAtTheEndOfABlockEndsTheHeader) {
    const std::string message = "Subject: " + std::string(4095 - 9, 'x') + "\r\nTo: b\r\n\r\n";
    EXPECT_EQ(defaultValues(message).at(kSubject), std::string(4095 - 9, 'x'));
    EXPECT_EQ(defaultValues(message).at(kTo), kNoValue);
}

// A long line whose second piece begins with its line end: the piece reads as an empty line, for the open and
// for the scan alike.
TEST(HeaderScan, ALongLineThatEndsExactlyAtABlock) {
    const std::string message = firstPiece() + "\r\nTo: b\r\n\r\n";
    EXPECT_EQ(defaultValues(message).at(kSubject), std::string(4096 - 9, 'x'));
    EXPECT_EQ(defaultValues(message).at(kTo), kNoValue);
}

// The end of the header is tested before a read: a piece that begins in it is taken to its own end.
TEST(HeaderScan, TheBorderIsTestedBeforeEachRead) {
    RecordingHost host("Subject: abc\nTo: d\n\n");
    OpenedMessage opened(host);
    for (int64_t border = 0; border <= 20; ++border) {
        opened.context()->bodyOffset = border;
        const MetadataList list = requested(host, opened, {{1, "Subject"}, {1, "To"}});
        EXPECT_EQ(list.value(0), border > 0 ? "abc" : kNoValue) << border;
        EXPECT_EQ(list.value(1), border > 13 ? "d" : kNoValue) << border;
    }
}

TEST(HeaderScan, TheWorkBufferIsGoneAfterAScan) {
    RecordingHost host(crlf("Subject: x\n\nbody\n"));
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->decoded.data, nullptr);
    (void)requested(host, opened, {{1, "Subject"}});
    EXPECT_EQ(opened.context()->decoded.data, nullptr);
    EXPECT_EQ(opened.context()->decoded.capacity, 0u);
    EXPECT_EQ(opened.context()->decoded.length, 0u);
}

// A value that outgrows the work buffer without memory ends the open, whatever is appended there.
TEST(HeaderScan, AWorkBufferThatCannotGrowEndsTheOpen) {
    const struct {
        const char* what;
        std::string subject;
    } rows[] = {
        {"the next piece of a long line", std::string(6000, 'a')},
        {"a continuation", std::string(4000, 'a') + "\n " + std::string(200, 'b')},
        {"the blank before a continuation", std::string(2000, 'a') + "\n " + std::string(2095, 'b') + "\n c"},
    };
    for (const auto& row : rows) {
        for (const bool fails : {false, true}) {
            RecordingHost host("Subject: " + row.subject + "\n\n");
            if (fails) host.journal().fail(Entry::kReallocate, {1, false});
            OpenedMessage opened(host);
            EXPECT_EQ(opened.result(), fails ? EML_NO_MEMORY : EML_OK) << row.what;
            EXPECT_EQ(host.journal().calls(Entry::kReallocate), 1U) << row.what;
            EXPECT_EQ(opened.context()->decoded.data, nullptr) << row.what;
        }
    }
}

// What an open costs: reads, and blocks grown, must stay in proportion to the message.
struct Cost {
    uint64_t bytesRead, reallocations, peak;
};

Cost costOf(const std::string& message, const std::string& expectedEnd) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OK);
    const Cost cost{host.bytesRead(), host.journal().calls(Entry::kReallocate), host.heap().peakBytes()};
    const MetadataList list = defaultList(host, opened);
    EXPECT_TRUE(list.value(kTo).ends_with(expectedEnd)) << list.value(kTo).size() << " bytes";
    return cost;
}

std::string manyLines(size_t count) {
    std::string message;
    for (size_t i = 0; i < count; ++i) message += "To:a\n";
    return message + "\n";
}

TEST(HeaderScan, ManyRepeatedFieldsCostInProportion) {
    const Cost small = costOf(manyLines(50000), "#####a");
    const Cost large = costOf(manyLines(200000), "#####a");
    EXPECT_LE(large.peak, 4 * small.peak + 65536);
    EXPECT_LE(large.peak, 16u << 20) << "1 MB of lines joins to 1.2 MB of value";
    EXPECT_LE(large.reallocations, 64u) << "a block that grows by a constant is copied too often";
    EXPECT_LE(large.bytesRead, 5 * small.bytesRead);
}

TEST(HeaderScan, AFloodOfFoldedLinesCostsInProportion) {
    const auto folded = [](size_t count) {
        std::string message = "To: x\n";
        for (size_t i = 0; i < count; ++i) message += " a\n";
        return message + "\n";
    };
    const Cost small = costOf(folded(50000), " a a");
    const Cost large = costOf(folded(200000), " a a");
    EXPECT_LE(large.peak, 4 * small.peak + 65536);
    EXPECT_LE(large.reallocations, 160u);
}

TEST(HeaderScan, AFloodOfWordOpeningsCostsLittle) {
    std::string message = "To:  ";
    while (message.size() < 1u << 20) message += "=?";
    const Cost cost = costOf(message + "\nTo: end\n\n", "end");
    EXPECT_LE(cost.peak, 4u << 20);
}

}  // namespace
}  // namespace eml::test
