#include "tool/archive/mbox.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {
namespace {

using Strings = std::vector<std::string>;

// A text that comes in pieces, between which there is nothing. Counts what is read.
class PieceSource final : public ByteSource {
  public:
    PieceSource(std::string_view text, size_t piece, uint64_t* read)
        : text_(text), piece_(piece), read_(read) {}

    Got readAt(uint64_t position, std::span<char> room, size_t& count) override {
        if (position >= text_.size()) return Got::kEnd;
        isWaiting_ = !isWaiting_;
        if (isWaiting_) return Got::kLater;
        const auto start = static_cast<size_t>(position);
        count = std::min({room.size(), piece_, text_.size() - start});
        text_.copy(room.data(), count, start);
        if (read_ != nullptr) *read_ += count;
        return Got::kBytes;
    }

  private:
    std::string_view text_;
    size_t piece_;
    uint64_t* read_;
    bool isWaiting_ = false;
};

// Its messages as they are stored; those in which nothing is quoted have a "!" before them.
Strings messagesOf(std::string_view text, size_t piece = 1 << 20, uint64_t* read = nullptr) {
    MboxScan scan(std::make_unique<PieceSource>(text, piece, read));
    Strings messages;
    for (;;) {
        MboxRange range;
        const ByteSource::Got got = scan.step(range);
        if (got == ByteSource::Got::kLater) continue;
        if (got == ByteSource::Got::kEnd) return messages;
        EXPECT_EQ(range.index, messages.size());
        EXPECT_LE(range.offset + range.length, text.size());
        const auto offset = static_cast<size_t>(range.offset);
        messages.push_back((range.isQuoted ? "" : "!") +
                           std::string(text.substr(offset, static_cast<size_t>(range.length))));
    }
}

const std::string kMark = "From a@example.org Thu Jan  1 00:00:00 1970\n";

std::string withLength(const std::string& value, const std::string& body) {
    return "Content-Length:" + value + "\n\n" + body;
}

struct Row {
    const char* rule;
    std::string text;
    Strings expected;
};

const std::string kFromBody = "x\n\nFrom bb\n\ny\n";  // 14 bytes
const std::string kCut = withLength(" 14", "x\n");

// What is found where the length that the header claims does not hold.
Strings cutAtFrom(const std::string& header) { return {header + "\n\nx\n", "\ny\n"}; }

const std::vector<Row> kRows = {
    {"one message", kMark + "A: 1\n\nx\n", {"A: 1\n\nx\n"}},
    {"the empty line before the next one is not part of it",
     kMark + "A: 1\n\nx\n\n" + kMark + "A: 2\n\ny\n",
     {"A: 1\n\nx\n", "A: 2\n\ny\n"}},
    {"a postmark and a header field need no empty line",
     kMark + "A: 1\n\nx\n" + kMark + "A: 2\n\ny\n",
     {"A: 1\n\nx\n", "A: 2\n\ny\n"}},
    {"a length that ends at the end holds",
     kMark + withLength(" 14", kFromBody),
     {"!" + withLength(" 14", kFromBody)}},
    {"a length that ends before an empty line at the end holds",
     kMark + withLength("14", kFromBody) + "\n",
     {"!" + withLength("14", kFromBody)}},
    {"a length that ends before a postmark holds",
     kMark + withLength(" 14", kFromBody) + kMark + "A: 2\n\ny\n",
     {"!" + withLength(" 14", kFromBody), "A: 2\n\ny\n"}},
    {"a length that ends before an empty line and a postmark holds",
     kMark + withLength(" 14", kFromBody) + "\n" + kMark + withLength("\t14 \r", kFromBody) + "\r\n" + kMark,
     {"!" + withLength(" 14", kFromBody), "!" + withLength("\t14 \r", kFromBody), ""}},
    {"quoted lines stay quoted if none is not",
     kMark + withLength(" 8", ">From b\n") + "\n" + kMark + "A: 2\n\ny\n",
     {withLength(" 8", ">From b\n"), "A: 2\n\ny\n"}},
    {"no body",
     kMark + withLength(" 0", "") + "\n" + kMark + withLength("0", ""),
     {withLength(" 0", ""), withLength("0", "")}},
    {"a body without a line end, at the end", kMark + withLength(" 3", "abc"), {withLength(" 3", "abc")}},
    {"case does not matter",
     kMark + "cOnTent-lEngth: 14\n\n" + kFromBody,
     {"!cOnTent-lEngth: 14\n\n" + kFromBody}},
    {"a length that is too small by one does not hold", kMark + withLength(" 13", kFromBody),
     cutAtFrom("Content-Length: 13")},
    {"a length that is too large does not hold", kMark + withLength(" 15", kFromBody),
     cutAtFrom("Content-Length: 15")},
    {"nor one of many digits", kMark + withLength(" 99999999999999999999999", kFromBody),
     cutAtFrom("Content-Length: 99999999999999999999999")},
    {"nor the largest number", kMark + withLength(" 18446744073709551615", kFromBody),
     cutAtFrom("Content-Length: 18446744073709551615")},
    {"nor one near it", kMark + withLength(" 18446744073709551500", kFromBody),
     cutAtFrom("Content-Length: 18446744073709551500")},
    {"nor a negative one", kMark + withLength(" -14", kFromBody), cutAtFrom("Content-Length: -14")},
    {"nor one with other text", kMark + withLength(" 14 bytes", kFromBody),
     cutAtFrom("Content-Length: 14 bytes")},
    {"nor an empty one", kMark + withLength("", kFromBody), cutAtFrom("Content-Length:")},
    {"nor two", kMark + "Content-Length: 14\n" + withLength(" 14", kFromBody),
     cutAtFrom("Content-Length: 14\nContent-Length: 14")},
    {"nor one in the body", kMark + "A: 1\n\n" + kCut + "\nFrom b\n\ny\n", {"A: 1\n\n" + kCut, "\ny\n"}},
    {"a line that only begins with From ends no length",
     kMark + withLength(" 2", "x\nFrom me\nto you\n") + "\n" + kMark + "A: 2\n\ny\n",
     {withLength(" 2", "x\nFrom me\nto you\n"), "A: 2\n\ny\n"}},
    {"a length in the middle of a line does not hold",
     kMark + withLength(" 3", "abcd\n\n") + kMark + "A: 2\n\ny\n",
     {withLength(" 3", "abcd\n"), "A: 2\n\ny\n"}},
    {"each message has its own length",
     kMark + withLength(" 999", "x\n") + "\n" + kMark + withLength(" 14", kFromBody) + "\n" + kMark +
         "A: 3\n\nz\n",
     {withLength(" 999", "x\n"), "!" + withLength(" 14", kFromBody), "A: 3\n\nz\n"}},
    {"an empty file is an empty message", "", {""}},
};

TEST(Mbox, FindsItsMessages) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(messagesOf(row.text), row.expected);
    }
}

TEST(Mbox, FindsTheSameMessagesHoweverTheBytesCome) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        for (size_t piece = 1; piece <= row.text.size(); ++piece)
            EXPECT_EQ(messagesOf(row.text, piece), row.expected) << piece;
    }
}

TEST(Mbox, LooksOnceForTheEndThatEachMessageClaims) {
    constexpr size_t kMessages = 2000;
    const std::string message = kMark + withLength(" 50000", "x\n") + "\n";
    std::string text;
    for (size_t i = 0; i < kMessages; ++i) text += message;
    uint64_t read = 0;
    EXPECT_EQ(messagesOf(text, 1 << 20, &read).size(), kMessages);
    EXPECT_LE(read, text.size() + kMessages * kEndSeen);
}

}  // namespace
}  // namespace emltool
