// Every cut of the filter's input buffer, as tables and against a slow reference over all short buffers.
#include "filter/input_cuts.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "reference/input_cuts.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

using namespace std::string_literals;

const uint8_t* bytesOf(const std::string& text) { return reinterpret_cast<const uint8_t*>(text.data()); }

int32_t countOf(const std::string& text) { return static_cast<int32_t>(text.size()); }

int32_t boundaryCarry(const std::string& buffer, const std::string& boundary) {
    const SubstringFinder finder(bytesOf(boundary), boundary.size());
    return boundaryCut(bytesOf(buffer), countOf(buffer), {boundary.c_str(), countOf(boundary), finder});
}

// Calls `use` with every string over `letters` of at most `longest` bytes.
void forEachText(const std::string& letters, size_t longest,
                 const std::function<void(const std::string&)>& use) {
    std::string text;
    std::vector<size_t> digits;
    for (;;) {
        use(text);
        size_t i = 0;
        while (i < digits.size() && digits[i] + 1 == letters.size()) {
            digits[i] = 0;
            text[i] = letters[0];
            ++i;
        }
        if (i == digits.size()) {
            if (digits.size() == longest) return;
            digits.push_back(0);
            text.push_back(letters[0]);
        } else {
            text[i] = letters[++digits[i]];
        }
    }
}

struct LineEndCase {
    const char* rule;
    std::string buffer;
    std::string bytes;
};

TEST(LineEndDetection, Table) {
    const LineEndCase cases[] = {
        {"no line end in the buffer: still not known", "abc", ""},
        {"an empty buffer tells nothing", "", ""},
        {"CR LF", "a\r\nb", "\r\n"},
        {"LF", "a\nb", "\n"},
        {"a lone CR", "a\rb", "\r"},
        {"the first line end settles it", "a\nb\rc", "\n"},
        {"LF, then CR LF in the same buffer: CR LF throughout", "a\nb\r\nc", "\r\n"},
        {"CR, then CR LF in the same buffer: CR LF throughout", "a\rb\r\nc", "\r\n"},
        {"CR LF is never taken back", "a\r\nb\nc\rd", "\r\n"},
        {"LF directly behind LF: a line end of two bytes", "a\n\nb", "\n\n"},
        {"LF LF is never turned into CR LF", "a\n\nb\r\nc", "\n\n"},
        {"LF at the end of the buffer", "a\n", "\n"},
        {"CR at the end of the buffer: its LF is not seen", "a\r", "\r"},
        {"a later CR at the end of the buffer", "a\nb\r", "\n"},
        {"CR CR LF: the second CR has an LF", "\r\r\n", "\r\n"},
        {"LF CR LF: CR LF", "\n\r\n", "\r\n"},
        {"line ends behind zero bytes count", "a\0b\r\n"s, "\r\n"},
    };
    for (const LineEndCase& test : cases) {
        const LineEnd found = detectLineEnd(bytesOf(test.buffer), countOf(test.buffer));
        EXPECT_EQ(found.width, test.bytes.size()) << test.rule;
        EXPECT_EQ(found.bytes[0], test.bytes.empty() ? 0 : static_cast<uint8_t>(test.bytes[0])) << test.rule;
        EXPECT_EQ(found.bytes[1], test.bytes.size() < 2 ? 0 : static_cast<uint8_t>(test.bytes[1]))
            << test.rule;
    }
}

TEST(LineEndDetection, EveryShortBuffer) {
    forEachText("\r\na\0"s, 7, [](const std::string& buffer) {
        const LineEnd found = detectLineEnd(bytesOf(buffer), countOf(buffer));
        const reference::LineEnd expected = reference::lineEndOf(buffer);
        ASSERT_EQ(found.width, static_cast<uint32_t>(expected.width)) << escaped(buffer);
        ASSERT_EQ(found.bytes[0], static_cast<uint8_t>(expected.first)) << escaped(buffer);
        ASSERT_EQ(found.bytes[1], static_cast<uint8_t>(expected.second)) << escaped(buffer);
    });
}

struct BoundaryCase {
    const char* rule;
    std::string buffer;
    int32_t kept;
};

TEST(BoundaryCut, Table) {
    const BoundaryCase cases[] = {
        {"no boundary", "abc", 0},
        {"in the middle", "abc\n--b\nd", 5},
        {"at the very end", "abc--b", 3},
        {"the boundary cut short by the end of the buffer is none", "abc--", 0},
        {"the last of several counts", "x--b y--b z--b.", 4},
        {"at offset 0 only: the whole buffer is kept back", "--b text", 8},
        {"at offset 0 and later: the later one counts", "--b text --b-", 4},
        {"another case is none in a buffer without zero bytes", "abc--B", 0},
        {"another case is none at the start of a buffer without zero bytes", "--B abc", 0},
        {"in a buffer with zero bytes the first one counts", "a\0x--b y--b z"s, 10},
        {"in a buffer with zero bytes, before the first zero", "a--b\0c--b"s, 8},
        {"a hit does not reach over a zero byte", "a--\0b"s, 0},
        {"at the start of a buffer with zero bytes: the cut is behind the first zero", "--b ab\0cd--b"s, 5},
        {"the same in another case", "--B ab\0cd--b"s, 5},
        {"at the start, with the zero at the end: nothing is kept back", "--b ab\0"s, 0},
        {"the first byte must be equal, then the case does not matter", "--B\0-"s, 1},
        {"at the start of the second piece", "a\0--b"s, 3},
        {"several zero bytes", "\0\0\0--b\0--b"s, 7},
        {"zero bytes without a boundary", "a\0b\0"s, 0},
        {"an empty buffer", "", 0},
        {"shorter than the boundary", "--", 0},
        {"only zero bytes", "\0\0\0\0"s, 0},
    };
    for (const BoundaryCase& test : cases)
        EXPECT_EQ(boundaryCarry(test.buffer, "--b"), test.kept) << test.rule;
}

TEST(BoundaryCut, SearchGoesOnBehindTheHitAndItsLength) {
    // Overlapping occurrences: the one at 2 is not looked at, since the one at 0 reaches over it.
    EXPECT_EQ(boundaryCarry("------", "----"), 6);
    EXPECT_EQ(boundaryCarry("--------x", "----"), 5);
}

TEST(BoundaryCut, BoundaryThatIsJustDashesIsLookedForToo) {
    EXPECT_EQ(boundaryCarry("a -- b -- c", "--"), 4);
}

TEST(BoundaryCut, FullBufferIsNoSpecialCaseHere) {
    EXPECT_EQ(boundaryCarry("--b" + std::string(4093, 'x'), "--b"), 4096);
    EXPECT_EQ(boundaryCarry(std::string(4093, 'x') + "--b", "--b"), 3);
    EXPECT_EQ(boundaryCarry("x--b" + std::string(4092, 'x'), "--b"), 4095);
}

TEST(BoundaryCut, WithoutABoundaryThereIsNone) {
    const SubstringFinder finder{};
    const std::string buffer = "abc\0def"s;
    EXPECT_EQ(boundaryCut(bytesOf(buffer), countOf(buffer), {"", 0, finder}), 0);
    EXPECT_EQ(boundaryCut(bytesOf(buffer), countOf(buffer), {"", 2, finder}), 0) << "empty text, length 2";
}

TEST(BoundaryCut, EveryShortBuffer) {
    for (const char* boundary : {"--b", "--", "--bb"}) {
        forEachText("-bBx\0"s, 6, [&](const std::string& buffer) {
            ASSERT_EQ(boundaryCarry(buffer, boundary), reference::boundaryCarry(buffer, boundary))
                << boundary << " in " << escaped(buffer);
        });
    }
}

struct LineCutCase {
    const char* rule;
    std::string buffer;
    std::string lineEnd;
    int32_t kept;
};

int32_t lineCarry(const std::string& buffer, const std::string& lineEnd) {
    LineEnd end{};
    for (size_t i = 0; i < lineEnd.size(); ++i) end.bytes[i] = static_cast<uint8_t>(lineEnd[i]);
    end.width = static_cast<uint32_t>(lineEnd.size());
    return lineCut(bytesOf(buffer), countOf(buffer), end);
}

TEST(LineCut, Table) {
    const LineCutCase cases[] = {
        {"behind the last empty line", "ab\r\n\r\ncd\r\nef", "\r\n", 6},
        {"behind the last of two empty lines", "a\r\n\r\nb\r\n\r\nc", "\r\n", 1},
        {"behind the last line end without an empty line", "ab\r\ncd\r\nef", "\r\n", 2},
        {"not at all without a line end", "abcdef", "\r\n", 0},
        {"not at all when the buffer ends on a line", "abc\r\n", "\r\n", 0},
        {"not at all when it ends on an empty line", "abc\r\n\r\n", "\r\n", 0},
        {"an empty line counts before a later line end", "a\n\nbc\nd", "\n", 4},
        {"width 1: behind the last line end", "ab\ncd", "\n", 2},
        {"width 1 with CR", "ab\rcd\r\ref", "\r", 2},
        {"three line ends in a row: behind the last of them", "a\n\n\nb", "\n", 1},
        {"three CR LF in a row", "a\r\n\r\n\r\nb", "\r\n", 1},
        {"offset 0 is never looked at: no empty line there", "\n\nab", "\n", 2},
        {"offset 0 is never looked at: no line end there", "\nabc", "\n", 0},
        {"offset 0 is never looked at: CR LF CR LF", "\r\n\r\nab", "\r\n", 2},
        {"offset 1 is", "x\n\nab", "\n", 2},
        {"other line ends do not count", "ab\ncd\nef", "\r\n", 0},
        {"a lone CR counts as the first byte of CR LF", "ab\rcdef", "\r\n", 3},
        {"the second byte of CR LF is never looked at", "abc\ncd", "\r\n", 0},
        {"a miss starts the count anew", "a\nb\nc", "\n", 1},
        {"LF LF as the line end: counted from the last LF, so that the cut is a byte late", "a\n\n\n\nbc",
         "\n\n", 1},
        {"LF LF: likewise behind a single one", "ab\n\ncd\n\nef", "\n\n", 1},
        {"a buffer no longer than the line end", "\r\n", "\r\n", 0},
        {"a buffer of one byte", "\n", "\n", 0},
        {"an empty buffer", "", "\n", 0},
        {"no cut while the line end is not known", "ab\ncd", "", 0},
    };
    for (const LineCutCase& test : cases)
        EXPECT_EQ(lineCarry(test.buffer, test.lineEnd), test.kept) << test.rule;
}

TEST(LineCut, EveryShortBuffer) {
    for (const std::string lineEnd : {"\r\n", "\n", "\r", "\n\n", ""}) {
        reference::LineEnd end;
        end.width = static_cast<int>(lineEnd.size());
        if (!lineEnd.empty()) end.first = lineEnd[0];
        if (lineEnd.size() > 1) end.second = lineEnd[1];
        forEachText("\r\na", 8, [&](const std::string& buffer) {
            ASSERT_EQ(lineCarry(buffer, lineEnd), reference::lineCarry(buffer, end))
                << escaped(lineEnd) << " in " << escaped(buffer);
        });
    }
}

// What is handed out and what is kept back are the buffer, at every cut of a full one.
TEST(LineCut, FullBuffer) {
    EXPECT_EQ(lineCarry(std::string(4096, 'x'), "\n"), 0) << "no line end at all: returned whole";
    for (const size_t at : {size_t{1}, size_t{2}, size_t{2048}, size_t{4094}, size_t{4095}}) {
        std::string buffer(4096, 'x');
        buffer[at] = '\n';
        EXPECT_EQ(lineCarry(buffer, "\n"), static_cast<int32_t>(4096 - at - 1)) << at;
    }
}

}  // namespace
}  // namespace eml::test
