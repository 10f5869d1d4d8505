// The open scan: parts, attachments and what a message says about itself.
#include "filter/message_scan.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "filter/random_filter_messages.h"
#include "filter/scan_dump.h"
#include "support/opened_message.h"
#include "support/random_messages.h"

namespace eml::test {
namespace {

// A content type with the letters "ch" has a test of its own.
bool hasTheLettersInAType(std::string message) {
    for (char& letter : message)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + 32);
    const std::string_view kField = "content-type:";
    for (size_t at = message.find(kField); at != std::string::npos; at = message.find(kField, at + 1)) {
        const size_t begin = message.find_first_not_of(" \t", at + kField.size());
        if (begin == std::string::npos) return false;
        const size_t end = message.find_first_of("; \t\r\n", begin);
        if (message.substr(begin, end - begin).find("ch") != std::string::npos) return true;
    }
    return false;
}

uint64_t seedCount(uint64_t normal) {
    const char* const asked = std::getenv("EML_RANDOM_SEEDS");
    return asked != nullptr ? std::strtoull(asked, nullptr, 10) : normal;
}

std::string shown(uint64_t seed, const std::string& message) {
    return "seed " + std::to_string(seed) + ", " + std::to_string(message.size()) + " bytes:\n" +
           escaped(message.substr(0, 6000));
}

TEST(FilterScanRandom, FragmentsGiveWhatTheSlowScanGives) {
    const uint64_t count = seedCount(6000);
    for (uint64_t seed = 1; seed <= count; ++seed) {
        const std::string message = randomFilterMessage(seed);
        if (hasTheLettersInAType(message)) continue;
        OpenFilter filter(message);
        ASSERT_EQ(dumpScan(filter), dumpReferenceScan(message)) << shown(seed, message);
    }
}

TEST(FilterScanRandom, BuiltMessagesGiveWhatTheSlowScanGives) {
    const uint64_t count = seedCount(3000);
    for (uint64_t seed = 1; seed <= count; ++seed) {
        const std::string message = MessageMaker(seed).any();
        if (hasTheLettersInAType(message)) continue;
        OpenFilter filter(message);
        ASSERT_EQ(dumpScan(filter), dumpReferenceScan(message)) << shown(seed, message);
    }
}

// The random messages are worth their time only when they reach what the scan has rules for.
TEST(FilterScanRandom, FragmentsReachTheRules) {
    int32_t counts[7] = {};
    for (uint64_t seed = 1; seed <= 4000; ++seed) {
        OpenFilter filter(randomFilterMessage(seed));
        if (filter.context() == nullptr) continue;
        const EmlFilterContext& context = filter.opened();
        counts[0] += context.parts.attachments.count > 0 ? 1 : 0;
        counts[1] += context.parts.bodies.count > 1 ? 1 : 0;
        counts[2] += context.messageSize > 4096 ? 1 : 0;
        counts[3] += context.headerLength > 4096 ? 1 : 0;
        counts[4] += context.input.lineEndWidth == 1 ? 1 : 0;
        counts[5] += context.signedMessage ? 1 : 0;
        counts[6] += context.charset != EML_CHARSET_WESTERN ? 1 : 0;
    }
    for (const int32_t count : counts) EXPECT_GT(count, 40);
}

struct Row {
    const char* name;
    std::string message;
    std::string parts;  // "start-end encoding type; "
    std::string names;
};

// The header takes 61 bytes with LF, and 64 with CR LF.
constexpr const char kMixed[] = "Mime-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n";

void expectParts(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        OpenFilter filter(row.message);
        ASSERT_NE(filter.context(), nullptr) << row.name;
        EXPECT_EQ(partsOf(filter.opened()), row.parts) << row.name;
        std::string names;
        for (int32_t i = 0; i < filter.opened().parts.attachments.count; ++i) names += filter.nameAt(i) + ";";
        EXPECT_EQ(names, row.names) << row.name;
        EXPECT_EQ(filter.opened().messageSize, static_cast<int32_t>(row.message.size())) << row.name;
    }
}

TEST(FilterScan, PartsRunFromBoundaryToBoundary) {
    const std::string mixed = kMixed;
    const std::string text = "--b\nContent-Type: text/plain\n\ntext\n";
    const std::string picture = "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    const std::string html = "--b\nContent-Type: text/html\n\nhtml\n";
    expectParts({
        {"no part", mixed + "text\n", "", ""},
        {"text, closed", mixed + text + "--b--\n", "61-95 0 text/plain; ", ""},
        {"text, not closed", mixed + text, "61-96 0 text/plain; ", ""},
        {"text and attachment", mixed + text + picture + "--b--\n", "61-95 0 text/plain; 96-138 0 image/x; ",
         "n;"},
        {"text and attachment, CR LF", crlf(mixed + text + picture + "--b--\n"),
         "64-101 0 text/plain; 103-148 0 image/x; ", "n;"},
        // KEPT: without an attachment the part before runs on over a further one
        {"two texts", mixed + text + html + "--b--\n", "61-129 0 text/plain; ", ""},
        {"three texts", mixed + text + html + text + "--b--\n", "61-164 0 text/plain; ", ""},
        {"two texts and attachment", mixed + text + html + picture + "--b--\n",
         "61-129 0 text/plain; 130-172 0 image/x; ", "n;"},
        {"two attachments", mixed + picture + picture + "--b--\n", "61-103 0 image/x; 104-146 0 image/x; ",
         "n;n;"},
        {"encodings",
         mixed + "--b\nContent-Transfer-Encoding: base64\nContent-Type: image/x; name=n\n\ncontent\n" +
             "--b\nContent-Type: text/plain\n\ntext\n--b--\n",
         "61-137 4 image/x; 138-172 0 text/plain; ", "n;"},
        {"without a type", mixed + "--b\n\ntext\n--b--\n", "", ""},
    });
}

TEST(FilterScan, LineBehindTheClosingBoundaryCounts) {
    const std::string start = std::string(kMixed) + "--b\nContent-Type: image/x; name=n\n\ncontent\n--b--";
    expectParts({
        {"nothing behind it", start, "61-103 0 image/x; ", "n;"},
        {"a line end, LF", start + "\n", "61-103 0 image/x; ", "n;"},
        {"more dashes", start + "----\n", "61-103 0 image/x; ", "n;"},
        {"line ends, CR LF", crlf(start + "\n\n\n"), "64-109 0 image/x; ", "n;"},
        // KEPT: what follows is treated as the header of a part of the type before
        {"an epilogue", start + "\nan epilogue\n", "61-103 0 image/x; 104-122 0 image/x; ", "n;"},
        {"an epilogue, CR LF", crlf(start + "\nan epilogue\n"), "64-109 0 image/x; 111-131 0 image/x; ",
         "n;"},
    });
}

TEST(FilterScan, OpeningBoundaryAtTheVeryEnd) {
    const std::string start = std::string(kMixed) + "--b\nContent-Type: image/x; name=n\n\ncontent\n--b";
    expectParts({
        // the zero after the buffer makes the line end a pair: it is passed, and ends the part
        {"LF", start + "\n", "61-103 0 image/x; ", "n;"},
        {"no line end", start, "61-103 0 image/x; 104-107 0 image/x; ", "n;"},
        // CR LF is a pair that ends where the buffer ends: a part without header
        {"CR LF", crlf(start + "\n"), "64-109 0 image/x; 111-116 0 image/x; ", "n;"},
    });
}

TEST(FilterScan, BoundaryIsFoundAnywhere) {
    expectParts({
        {"in a line", std::string(kMixed) + "see --b\nContent-Type: text/plain\n\ntext\n--b--\n",
         "65-99 0 text/plain; ", ""},
        {"other case", std::string(kMixed) + "--B\nContent-Type: text/plain\n\ntext\n--B--\n", "", ""},
        {"as a prefix", std::string(kMixed) + "--bc\nContent-Type: text/plain\n\ntext\n--b--\n",
         "61-96 0 text/plain; ", ""},
    });
}

// A zero byte ends the search in its buffer.
TEST(FilterScan, ZeroByteEndsTheSearchInItsBuffer) {
    const std::string zero(1, '\0');
    const std::string part = "--b\nContent-Type: text/plain\n\ntext\n";
    OpenFilter before(kMixed + part + "te" + zero + "xt\n" + part);
    EXPECT_EQ(before.opened().parts.bodies.count, 1);
    OpenFilter at(kMixed + zero + part);
    EXPECT_EQ(at.opened().parts.bodies.count, 0);
}

TEST(FilterScan, MixedPartIsNotRecorded) {
    expectParts({
        {"mixed in mixed",
         std::string(kMixed) + "--b\nContent-Type: multipart/mixed; boundary=n\n\n--n\n"
                               "Content-Type: text/plain\n\ntext\n--n--\n--b--\n",
         "", ""},
        {"alternative in mixed",
         std::string(kMixed) + "--b\nContent-Type: multipart/alternative; boundary=n\n\n--n\n"
                               "Content-Type: text/plain\n\ntext\n--n--\n--b--\n",
         "61-154 0 multipart/alternative; ", ""},
    });
}

// A message that is an attachment itself: an empty text, and a part for the attachment.
TEST(FilterScan, AttachmentWithoutPartsGetsTwo) {
    const std::string header = "Content-Type: image/x; name=n\nContent-Transfer-Encoding: base64\n";
    expectParts({
        {"LF", header + "\nTWFu\n", "65-65 0 ; 65-70 4 image/x; ", "n;"},
        {"CR LF", crlf(header + "\nTWFu\n"), "68-68 0 ; 68-74 4 image/x; ", "n;"},
        {"without an empty line", header, "1-1 0 ; 1-64 4 image/x; ", "n;"},
    });
    OpenFilter filter(header + "\nTWFu\n");
    EXPECT_EQ(filter.opened().parts.bodies.count, 2);
    EXPECT_EQ(filter.opened().parts.bodies.capacity, 2);
    EXPECT_EQ(filter.opened().parts.first, 0);
    EXPECT_EQ(filter.opened().parts.attachments.records[0].partIndex, 1U);
    EXPECT_EQ(filter.host().journal().calls(Entry::kAllocateZeroed), 1U);
}

TEST(FilterScan, ThoseTwoPartsNeedMemory) {
    UnopenedFilter filter("Content-Type: image/x; name=n\n\ncontent\n");
    filter.host().journal().fail(Entry::kAllocateZeroed, {1, false});
    filter.open(0);
    EXPECT_EQ(filter.context(), nullptr);
    EXPECT_EQ(filter.result(), EML_NO_MEMORY);
    EXPECT_EQ(filter.host().services().lastError, EML_NO_MEMORY);
}

// KEPT: two LF in a row, when they are the first line ends, count as one of two bytes.
TEST(FilterScan, FirstTwoLineFeedsMakeALineEndOfTwoBytes) {
    const std::string message =
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: image/x; name=n\n\ncontent\n--b--\n";
    OpenFilter filter(message);
    EXPECT_EQ(filter.opened().input.lineEndWidth, 2U);
    EXPECT_EQ(filter.opened().input.lineEnd[0], 10);
    EXPECT_EQ(filter.opened().input.lineEnd[1], 10);
    // The first buffer ends two bytes after the start of its last line end: within the boundary, which is
    // never found then.
    EXPECT_EQ(partsOf(filter.opened()), "43-92 0 image/x; ");
}

TEST(FilterScan, EmptyMessageFails) {
    OpenFilter filter("");
    EXPECT_EQ(filter.context(), nullptr);
    EXPECT_EQ(filter.result(), EML_EMPTY_MESSAGE);
    EXPECT_EQ(filter.host().services().lastError, EML_EMPTY_MESSAGE);
}

TEST(FilterScan, TablesGrowAsLongAsThereIsMemory) {
    std::string message = kMixed;
    for (int i = 0; i < 40; ++i)
        message += "--b\nContent-Type: image/x; name=" + std::to_string(i) + "\n\ncontent\n";
    OpenFilter filter(message + "--b--\n");
    ASSERT_EQ(filter.opened().parts.bodies.count, 40);
    ASSERT_EQ(filter.opened().parts.attachments.count, 40);
    for (uint32_t i = 0; i < 40; ++i) {
        EXPECT_EQ(filter.nameAt(i), std::to_string(i));
        EXPECT_EQ(filter.opened().parts.attachments.records[i].partIndex, i);
    }
}

// A boundary that stands first in what an input buffer can hold leaves nothing of it: the scan ends there.
TEST(FilterScan, BufferThatIsCutToNothingEndsIt) {
    const std::string start = std::string(kMixed) + "--b\nContent-Type: text/plain\n\ntext\n\n";
    const std::string message = start + "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    OpenFilter filter(message);
    ASSERT_NE(filter.context(), nullptr);
    // The first buffer ends after the last empty line, the second before the last boundary; nothing is left
    // of the third.
    reference::FilterScan scan(message);
    ASSERT_EQ(scan.scan(), 0U);
    EXPECT_EQ(filter.opened().messageSize, scan.messageSize);
}

}  // namespace
}  // namespace eml::test
