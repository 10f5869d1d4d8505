// The scan for boundary lines: where parts begin and end, and what block borders do to that.
#include <gtest/gtest.h>

#include "container/boundary_scan.h"
#include "container/section_list.h"
#include "support/reference_scan.h"
#include "support/sections.h"

namespace eml::test {
namespace {

// Each part of a message as "header-and-body" text, cut at start and end.
std::vector<std::string> partsOf(const std::string& message) {
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(dumpSections(*opened.context(), opened.result()), dumpSections(referenceOpen(message, 0)));
    std::vector<std::string> parts;
    for (const EmlSection* section : sectionsOf(opened)) {
        parts.push_back(bytesBetween(message, section->start, section->end));
    }
    return parts;
}

using Parts = std::vector<std::string>;

struct ScanCase {
    const char* rule;
    std::string rest;  // after the header of a multipart/mixed message with the boundary "b"
    Parts parts;
};

const ScanCase kScanCases[] = {
    {"parts between delimiters",
     "--b\r\nH\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\n",
     {"H\r\n\r\none", "\r\ntwo"}},
    {"preamble and epilogue belong to no part",
     "pre\r\n--b\r\n\r\none\r\n--b--\r\nepilogue\r\n--b\r\n\r\nno",
     {"\r\none"}},
    {"without closing delimiter the last part goes to the end", "--b\r\n\r\none", {"\r\none"}},
    {"KEPT: a boundary in the middle of a line splits there",
     "--b\r\n\r\none --b two\r\n--b--",
     {"\r\none ", "two"}},
    {"KEPT: the boundary is a prefix, what follows is the part",
     "--b\r\n\r\none\r\n--bxy\r\n\r\ntwo\r\n--b--",
     {"\r\none", "xy\r\n\r\ntwo"}},
    {"blanks, tabs and quotes after a delimiter", "--b \t\"\"\r\nH\r\n\r\none\r\n--b--", {"H\r\n\r\none"}},
    {"a lone LF ends a delimiter line", "--b\nH\n\none\n--b--", {"H\n\none"}},
    {"a lone CR ends a delimiter line", "--b\rH\r\rone\r--b--", {"H\r\rone\r"}},
    {"one CR and one LF at most", "--b\r\r\none\r\n--b\n\ntwo\r\n--b--", {"\r\none", "\ntwo"}},
    {"text after a delimiter begins the part", "--bH\r\n\r\none\r\n--b--", {"H\r\n\r\none"}},
    {"two delimiters in a row: an empty part", "--b\r\n--b\r\n\r\none\r\n--b--", {"", "\r\none"}},
    {"one dash is no closing delimiter", "--b-\r\n\r\none\r\n--b--", {"-\r\n\r\none"}},
    {"a closing delimiter in the middle of a line",
     "--b\r\n\r\none --b-- two\r\n--b\r\n\r\nno",
     {"\r\none "}},
    {"the closing delimiter alone", "--b--\r\n", {}},
    {"overlapping dashes", "---b\r\n\r\none\r\n---b--", {"\r\none\r\n-"}},
};

TEST(Scan, DelimitersCutParts) {
    for (const ScanCase& row : kScanCases) {
        SCOPED_TRACE(row.rule);
        const std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n" + row.rest;
        RecordingHost host(message);
        OpenedMessage opened(host);
        if (row.parts.empty()) {
            EXPECT_EQ(sectionsOf(opened).size(), 1U) << "the whole message";
        } else {
            EXPECT_EQ(partsOf(message), row.parts);
        }
    }
}

// KEPT: what stands before a delimiter. LF, and CR before the last byte, are taken away independently.
TEST(Scan, LineEndBeforeADelimiter) {
    const struct {
        const char* rule;
        std::string end;  // the last bytes of the part
        std::string kept;
    } rows[] = {
        {"CR LF goes", "x\r\n", "x"},
        {"LF goes", "x\n", "x"},
        {"only one LF goes", "x\n\n", "x\n"},
        {"only one CR LF goes", "x\r\n\r\n", "x\r\n"},
        {"some byte and CR both stay", "x\r", "x\r"},
        {"KEPT: CR and some byte lose that byte", "x\ry", "x\r"},
        {"CR CR loses one", "x\r\r", "x\r"},
        {"CR LF CR stay", "x\r\n\r", "x\r\n\r"},
        {"nothing to take away", "xy", "xy"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        const std::string head = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
        EXPECT_EQ(partsOf(head + "--b\r\nH\r\n\r\n" + row.end + "--b--\r\n"), Parts{"H\r\n\r\n" + row.kept});
        EXPECT_EQ(partsOf(head + "--b\r\nH\r\n\r\n" + row.end), Parts{"H\r\n\r\n" + row.kept})
            << "at the end of the file";
    }
}

// The end of a range may be the end of a part. What stands before it is looked at from the third byte of the
// file on.
TEST(Scan, PartsThatEndAtTheStartOfTheFile) {
    const struct {
        int64_t rangeEnd;
        int64_t end;
    } rows[] = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 3}};
    for (const auto& row : rows) {
        RecordingHost host("--b\r\n\r\none");
        ASSERT_NE(host.input().open(&host.input()), 0);
        EmlContainerContext context{};
        context.services = &host.services();
        context.input = &host.input();
        context.kernels = &chooseKernels();
        context.lineBuffer = static_cast<uint8_t*>(host.heap().take(kLineBufferSize));
        context.fileSize = 10;
        EXPECT_EQ(scanSections(context, {"--b", 3}, 0, row.rangeEnd), EML_OK);
        ASSERT_NE(context.sections, nullptr);
        EXPECT_EQ(context.sections->section.end, row.end) << row.rangeEnd;
        EXPECT_EQ(host.journal().calls(Entry::kInputClose), 0U);
        releaseSections(context);
        host.heap().give(context.lineBuffer);
    }
}

// The last delimiter's CR may be the last byte of a block and of the file: nothing brings its LF then.
TEST(Scan, DelimiterThatEndsBlockAndFile) {
    const std::string header = "Content-Type: multipart/mixed; boundary=b\r\n\r\n";
    for (const char* lineEnd : {"\r", "\r\n", "\n", ""}) {
        const std::string first = "--b\r\n\r\n";
        const std::string last = std::string("\r\n--b") + lineEnd;
        // The first block begins after the header.
        for (size_t size = kBlockSize - 1; size <= kBlockSize + 1; ++size) {
            const std::string text(size - first.size() - last.size(), 'x');
            EXPECT_EQ(partsOf(header + first + text + last), (Parts{"\r\n" + text, ""})) << size;
        }
    }
}

TEST(Scan, EmptyBoundaryIsFoundAtEveryPairOfDashes) {
    const std::string head = "Content-Type: multipart/mixed; boundary=\"\"\r\n\r\n";
    EXPECT_EQ(partsOf(head + "a--\r\nH\r\n\r\none--two\r\n----\r\nno"), (Parts{"H\r\n\r\none", "two"}));
}

// Where a message is multipart in name only.
TEST(Scan, BoundaryThatNeverOccursLeavesOneSectionOfThatClass) {
    for (const char* type : {"mixed", "alternative", "related", "signed"}) {
        const std::string message = multipart(type, "--c\n\none\n--c--\n");
        RecordingHost host(message);
        OpenedMessage opened(host);
        EXPECT_EQ(opened.result(), EML_OK) << type;
        ASSERT_EQ(sectionsOf(opened).size(), 1U);
        EXPECT_EQ(sectionsOf(opened)[0]->contentClass, opened.context()->contentClass);
        EXPECT_EQ(sectionsOf(opened)[0], opened.context()->plainBody);
        EXPECT_EQ(sectionsOf(opened)[0]->bodyStart, opened.context()->bodyOffset);
    }
}

// KEPT: the end of the range is tested where a block begins; a block that begins inside is searched to its
// end. The inner part here has no inner delimiter before the outer one ends it, but one after it.
TEST(Scan, RangeEndIsTestedOnlyWhereABlockBegins) {
    const std::string message = multipart("mixed",
                                          "--b\nContent-Type: multipart/alternative; boundary=n\n\n"
                                          "--n\nContent-Type: text/html\n\nhtml\n"
                                          "--b--\n--n\n\nbehind the range\n--n--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "behind the range");
}

TEST(Scan, BlockThatBeginsBehindTheRangeIsNotSearched) {
    const std::string message = multipart("mixed",
                                          "--b\nContent-Type: multipart/alternative; boundary=n\n\n"
                                          "--n\nContent-Type: text/html\n\nhtml\n"
                                          "--b--\n" +
                                              std::string(5000, 'x') + "\n--n\n\nbehind the range\n--n--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(opened.context()->plainBody, nullptr);
    EXPECT_EQ(bodyOf(message, opened.context()->htmlBody), "html");
}

// --- block borders

constexpr int64_t kBlock = 4096;

// Filler of exactly `length` bytes that holds no delimiter.
std::string fillerOf(size_t length, const std::string& lineEnd) {
    std::string text;
    while (text.size() + 60 < length) text += std::string(50 - lineEnd.size(), 'f') + lineEnd;
    if (text.size() + lineEnd.size() > length) return std::string(length, 'f');
    text += std::string(length - text.size() - lineEnd.size(), 'f');
    return text + lineEnd;
}

const std::string kHead = "Content-Type: multipart/mixed; boundary=bound\r\n\r\n";

// Moves a delimiter line over the border, byte by byte, after filler with each kind of line end.
TEST(Scan, DelimiterLineAtEveryPlaceAcrossABlockBorder) {
    for (const std::string fillerEnd : {"\r\n", "\n", "\r"}) {
        for (const std::string lineEnd : {"\r\n", "\n", "\r", " \t\"\r\n"}) {
            const std::string delimiter = "--bound" + lineEnd;
            const auto length = static_cast<int64_t>(delimiter.size());
            for (int64_t shift = -3; shift <= length + 3; ++shift) {
                SCOPED_TRACE(escaped(fillerEnd + " " + lineEnd) + " " + std::to_string(shift));
                // The scan reads from the end of the header, so blocks count from there.
                const auto fill = static_cast<size_t>(2 * kBlock - shift - 4);
                const std::string message = kHead + fillerOf(fill, fillerEnd) + "ab\r\n" + delimiter +
                                            "H: x\r\n\r\nbody\r\n--bound--\r\n";
                EXPECT_EQ(partsOf(message), Parts{"H: x\r\n\r\nbody"});
            }
        }
    }
}

// The same for the delimiter that ends a part, and for the closing one.
TEST(Scan, EndOfAPartAtEveryPlaceAcrossABlockBorder) {
    for (const std::string next : {"--bound\r\n\r\nsecond", "--bound--\r\nepilogue --bound\r\n"}) {
        const bool closing = next[7] == '-';
        for (int64_t shift = -4; shift <= 16; ++shift) {
            SCOPED_TRACE(next + " " + std::to_string(shift));
            const std::string first = "--bound\r\n";
            const std::string body =
                "\r\n" + fillerOf(static_cast<size_t>(kBlock - shift) - first.size() - 4, "\r\n");
            const std::string message = kHead + first + body + "\r\n" + next;
            Parts expected = {body};
            if (!closing) expected.push_back("\r\nsecond");
            EXPECT_EQ(partsOf(message), expected);
        }
    }
}

// A line longer than a block may be cut anywhere, also in a delimiter; what is found is what the blocks show.
TEST(Scan, DelimiterBehindALineThatFillsTheBlock) {
    for (int64_t shift = -3; shift <= 14; ++shift) {
        const std::string message = kHead + std::string(static_cast<size_t>(kBlock - shift), 'f') +
                                    "--bound\r\nH: x\r\n\r\nbody\r\n--bound--\r\n";
        SCOPED_TRACE(shift);
        // Cut in two: not seen. Whole in the first block, or in the second: seen.
        const bool cut = shift > 0 && shift < 7;
        const Parts parts = partsOf(message);
        ASSERT_EQ(parts.size(), 1U);
        if (cut) {
            EXPECT_EQ(parts[0], message) << "no delimiter but the closing one";
        } else if (shift == 7) {
            EXPECT_EQ(parts[0], "\r\nH: x\r\n\r\nbody") << "the line end comes with the next block";
        } else {
            EXPECT_EQ(parts[0], "H: x\r\n\r\nbody");
        }
    }
}

// KEPT: a full block is cut after its last line end, and that line end is read again with the next block:
// one byte less of the line after it is seen at once.
TEST(Scan, LastLineEndOfABlockIsReadAgain) {
    for (int64_t shift = 5; shift <= 9; ++shift) {
        const std::string message = kHead + fillerOf(kBlock, "\n") +
                                    std::string(static_cast<size_t>(kBlock - shift), 'f') +
                                    "--bound\nH: x\n\nbody\n--bound--\n";
        SCOPED_TRACE(shift);
        const bool whole = shift >= 8;
        EXPECT_EQ(partsOf(message).at(0) != message, whole);
    }
}

TEST(Scan, RunsOfZeroBytesAroundABlockBorder) {
    for (const size_t run : {1U, 2U, 7U, 100U, 4095U, 4096U, 4097U, 9000U}) {
        for (int64_t shift = -3; shift <= 12; ++shift) {
            SCOPED_TRACE(std::to_string(run) + " " + std::to_string(shift));
            const std::string text = fillerOf(static_cast<size_t>(3 * kBlock - shift) - run, "\r\n");
            const std::string message = kHead + text + std::string(run, '\0') + "--bound\r\nH: x\r\n\r\nbo" +
                                        std::string(3, '\0') + "dy\r\n--bound--\r\n";
            EXPECT_EQ(partsOf(message), Parts{"H: x\r\n\r\nbo" + std::string(3, '\0') + "dy"});
        }
    }
}

// A delimiter that a zero byte stands in is none; one right after a zero is one.
TEST(Scan, ZeroByteEndsTheSearchOfABlock) {
    using namespace std::string_literals;
    const std::string message = kHead + "--bo\0und\r\n\0--bound\r\n\r\none\0--bound--\r\n"s;
    EXPECT_EQ(partsOf(message), Parts{"\r\none\0"s});
}

TEST(Scan, ManyPartsInOneBlock) {
    std::string message = kHead;
    Parts expected;
    for (int i = 0; i < 300; ++i) {
        message += "--bound\r\n\r\n" + std::to_string(i) + "\r\n";
        expected.push_back("\r\n" + std::to_string(i));
    }
    EXPECT_EQ(partsOf(message + "--bound--"), expected);
}

// --- cost

// The library is never handed more than a few times the message, however the parts nest.
TEST(Scan, BoundaryOfEqualLettersIsSearchedInLinearTime) {
    const std::string letters(2000, 'a');
    std::string body;
    while (body.size() < 1000000) body += std::string(1999, 'a') + "\n";
    const std::string message = "Content-Type: multipart/mixed; boundary=" + letters + "\r\n\r\n" + body +
                                "--" + letters + "\r\n\r\nlast\r\n--" + letters + "--\r\n";
    RecordingHost host(message);
    OpenedMessage opened(host);
    ASSERT_EQ(sectionsOf(opened).size(), 1U);
    EXPECT_EQ(bodyOf(message, opened.context()->plainBody), "last");
    EXPECT_LT(host.bytesRead(), 4 * message.size());
}

TEST(Scan, ZeroBytesAreReadAFewTimesAtMost) {
    std::string alternating;
    while (alternating.size() < 500000) alternating += std::string("x\0", 2);
    for (const std::string& zeros : {std::string(500000, '\0'), alternating}) {
        const std::string message = kHead + "--bound\r\n\r\n" + zeros + "\r\n--bound--\r\n";
        RecordingHost host(message);
        OpenedMessage opened(host);
        ASSERT_EQ(sectionsOf(opened).size(), 1U);
        EXPECT_EQ(bodyOf(message, opened.context()->plainBody).size(), zeros.size());
        EXPECT_LT(host.bytesRead(), 4 * message.size());
    }
}

TEST(Scan, MemoryDoesNotGrowWithTheMessage) {
    constexpr uint64_t kSize = 64 * 1024 * 1024;
    RecordingHost host("Content-Type: multipart/mixed; boundary=bound\r\n\r\n--bound\r\n\r\n");
    host.extendTo(kSize, 77);
    OpenedMessage opened(host);
    ASSERT_EQ(sectionsOf(opened).size(), 1U);
    EXPECT_EQ(sectionsOf(opened)[0]->bodyEnd, static_cast<int64_t>(kSize));
    EXPECT_LT(host.heap().peakBytes(), 64U * 1024U);
    EXPECT_LT(host.bytesRead(), kSize + kSize / 10) << "the body is read once";
}

}  // namespace
}  // namespace eml::test
