// All kernels give the same bytes: each level is held against the plain one, alone and inside the decoders.
#include "bytes/decode_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "tests/support/guard_pool.h"
#include "tests/support/kernel_sets.h"

namespace eml::test {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Text of digits in lines, with a few bytes that rules touch.
std::string randomText(std::mt19937& random, size_t length, bool anyByte) {
    std::string text;
    while (text.size() < length) {
        const auto die = random() % 100;
        if (die < 93) {
            text += kDigits[random() % kDigits.size()];
        } else if (die < 96) {
            text += "\r\n";
        } else if (die < 98 && anyByte) {
            text += static_cast<char>(random() % 256);
        } else {
            text += die == 98 ? "=" : "=3D_=20";
        }
    }
    return text;
}

// Collects in blocks, as the library does.
class BlockSink {
  public:
    [[nodiscard]] OutputSpan space() { return {block_.data() + fill_, block_.data() + block_.size()}; }

    void commit(const uint8_t* end) {
        fill_ = static_cast<size_t>(end - block_.data());
        if (fill_ == block_.size()) flush();
    }

    std::string take() {
        flush();
        return std::move(bytes_);
    }

  private:
    void flush() {
        bytes_.append(block_.begin(), block_.begin() + static_cast<ptrdiff_t>(fill_));
        fill_ = 0;
    }

    std::vector<uint8_t> block_ = std::vector<uint8_t>(97);
    size_t fill_ = 0;
    std::string bytes_;
};

template <class Decoder>
std::string decode(Decoder decoder, const std::string& text, size_t piece) {
    BlockSink sink;
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    for (size_t at = 0; at < text.size(); at += piece) {
        // An exact block, so that a byte too far is seen.
        const std::vector<uint8_t> exact(bytes + at, bytes + std::min(text.size(), at + piece));
        decoder.feed(exact.data(), exact.data() + exact.size(), sink);
    }
    decoder.finish(sink);
    return sink.take();
}

template <Base64Rules R>
std::string decodeBase64(const DecodeKernels& kernels, const std::string& text, size_t piece, bool dropCr) {
    return decode(Base64Decoder<R>(dropCr, kernels), text, piece);
}

template <QuotedPrintableRules R>
std::string decodeQuotedPrintable(const DecodeKernels& kernels, const std::string& text, size_t piece,
                                  bool flag) {
    return decode(QuotedPrintableDecoder<R>(flag, kernels), text, piece);
}

TEST(DecodeKernels, DecodersGiveTheSameBytesWithEverySet) {
    std::mt19937 random(20251121);
    for (int round = 0; round < 4000; ++round) {
        const std::string text = randomText(random, random() % 500, round % 3 == 0);
        const size_t piece = 1 + random() % 300;
        const bool flag = round % 2 == 0;
        for (const DecodeKernels* kernels : kernelSets()) {
            const DecodeKernels& plain = kPlainKernels;
            ASSERT_EQ(decodeBase64<kContainerBase64>(*kernels, text, piece, flag),
                      decodeBase64<kContainerBase64>(plain, text, 1, flag));
            ASSERT_EQ(decodeBase64<kFilterBase64>(*kernels, text, piece, flag),
                      decodeBase64<kFilterBase64>(plain, text, 1, flag));
            ASSERT_EQ(decodeQuotedPrintable<kContainerStream>(*kernels, text, piece, flag),
                      decodeQuotedPrintable<kContainerStream>(plain, text, 1, flag));
            ASSERT_EQ(decodeQuotedPrintable<kContainerBuffer>(*kernels, text, piece, flag),
                      decodeQuotedPrintable<kContainerBuffer>(plain, text, 1, flag));
            ASSERT_EQ(decodeQuotedPrintable<kFilterText>(*kernels, text, piece, flag),
                      decodeQuotedPrintable<kFilterText>(plain, text, 1, flag));
            ASSERT_EQ(decodeQuotedPrintable<kFilterExtract>(*kernels, text, piece, flag),
                      decodeQuotedPrintable<kFilterExtract>(plain, text, 1, flag));
        }
    }
}

// What a kernel made of a text: the bytes that it used, and those that it gave.
struct Outcome {
    ptrdiff_t used;
    std::vector<uint8_t> bytes;

    bool operator==(const Outcome&) const = default;
};

// The end of a block after which no byte can be read or written. What stands there is overwritten by the
// next use.
class PageEnd {
  public:
    static constexpr size_t kRoom = 1024;

    PageEnd() : begin_(static_cast<uint8_t*>(GuardPool::instance().take(kRoom))) {}
    ~PageEnd() { GuardPool::instance().give(begin_); }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;

    [[nodiscard]] uint8_t* end() const { return begin_ + kRoom; }
    [[nodiscard]] uint8_t* last(size_t count) const { return end() - count; }
    [[nodiscard]] const uint8_t* put(const std::vector<uint8_t>& bytes) const {
        return std::copy(bytes.begin(), bytes.end(), last(bytes.size())) - bytes.size();
    }

  private:
    uint8_t* begin_;
};

// Text and output end at a page that cannot be used, so that a byte too far is seen.
struct Pages {
    PageEnd text;
    PageEnd output;
};

const Pages& pages() {
    static const Pages both;
    return both;
}

Outcome base64Lines(const DecodeKernels& kernels, const std::vector<uint8_t>& text, size_t room) {
    const uint8_t* const begin = pages().text.put(text);
    uint8_t* const output = pages().output.last(room);
    uint8_t* out = output;
    const uint8_t* const left = kernels.base64Lines(begin, pages().text.end(), out, pages().output.end());
    return {left - begin, {output, out}};
}

Outcome quotedText(const DecodeKernels& kernels, const std::vector<uint8_t>& text, QuotedStops stops) {
    const uint8_t* const begin = pages().text.put(text);
    uint8_t* const output = pages().output.last(text.size());
    uint8_t* out = output;
    const uint8_t* const left = kernels.quotedText(begin, pages().text.end(), stops, out);
    return {left - begin, {output, out}};
}

struct LineEndFound {
    ptrdiff_t lineEnd;
    ptrdiff_t zero;

    bool operator==(const LineEndFound&) const = default;
};

LineEndFound findLineEnd(const DecodeKernels& kernels, const std::vector<uint8_t>& text) {
    const uint8_t* const begin = pages().text.put(text);
    const uint8_t* zero = nullptr;
    const uint8_t* const end = kernels.findLineEnd(begin, pages().text.end(), zero);
    return {end - begin, zero - begin};
}

ptrdiff_t findTextRunEnd(const DecodeKernels& kernels, const std::vector<uint8_t>& text) {
    const uint8_t* const begin = pages().text.put(text);
    return kernels.findTextRunEnd(begin, pages().text.end()) - begin;
}

// The positions that can be looked for in a text are those with `distance` bytes after them.
ptrdiff_t findPair(const DecodeKernels& kernels, const std::vector<uint8_t>& text, size_t distance) {
    const uint8_t* const begin = pages().text.put(text);
    return kernels.findPair(begin, pages().text.end() - distance, '=', '4', distance) - begin;
}

constexpr uint16_t kNone = QuotedStops::kNone;
constexpr QuotedStops kStops[] = {
    {false, kNone, kNone}, {true, kNone, kNone}, {false, '\r', kNone}, {true, '\r', ' '}};

// True when every kernel of every set does with the text what the plain one does.
testing::AssertionResult allAgreeOn(const std::vector<uint8_t>& text) {
    if (text.size() > PageEnd::kRoom) return testing::AssertionFailure() << "too long";
    const DecodeKernels& plain = kPlainKernels;
    for (const DecodeKernels* kernels : kernelSets()) {
        for (const size_t room : {text.size(), text.size() / 2}) {
            if (base64Lines(*kernels, text, room) != base64Lines(plain, text, room))
                return testing::AssertionFailure() << "base64Lines";
        }
        for (const QuotedStops& stops : kStops) {
            if (quotedText(*kernels, text, stops) != quotedText(plain, text, stops))
                return testing::AssertionFailure() << "quotedText";
        }
        if (findLineEnd(*kernels, text) != findLineEnd(plain, text))
            return testing::AssertionFailure() << "findLineEnd";
        for (const size_t distance : {size_t{0}, size_t{1}, size_t{2}, text.size() / 2}) {
            if (distance <= text.size() &&
                findPair(*kernels, text, distance) != findPair(plain, text, distance))
                return testing::AssertionFailure() << "findPair";
        }
        if (findTextRunEnd(*kernels, text) != findTextRunEnd(plain, text))
            return testing::AssertionFailure() << "findTextRunEnd";
    }
    return testing::AssertionSuccess();
}

// Every byte at every place of a wide register and after it.
TEST(DecodeKernels, EveryByteStopsEverySetWhereItStopsThePlainOne) {
    for (int byte = 0; byte < 256; ++byte) {
        for (size_t at = 0; at < 140; at += at < 34 || at % 32 > 29 ? 1 : 7) {
            std::vector<uint8_t> text(140, 'Q');
            text[at] = static_cast<uint8_t>(byte);
            ASSERT_TRUE(allAgreeOn(text)) << byte << " at " << at;
        }
    }
}

// What begins with "=" may begin at every place of a block, and the text may end at every place after it.
TEST(DecodeKernels, EveryStopAtEveryPlaceOfEveryLength) {
    const std::string stops[] = {"=41",    "=",      "=\r\n",  "=\n",     "=\r", "=\rx",   "==41",
                                 "===",    "=4=41",  "=0D",    "=20\r\n", "=G1", "_",      "=_",
                                 "=C3=9F", "=\r=\r", "=\n=\n", "\r\n",    "-",   {"\0", 1}};
    for (const std::string& stop : stops) {
        for (size_t before = 0; before < 66; ++before) {
            for (const size_t after : {0U, 1U, 2U, 62U, 130U}) {
                const std::string text = std::string(before, 'Q') + stop + std::string(after, 'R');
                ASSERT_TRUE(allAgreeOn({text.begin(), text.end()})) << stop << " after " << before;
            }
        }
    }
}

std::string base64Line(size_t length, size_t from) {
    std::string line;
    while (line.size() < length) line += kDigits[(from + line.size()) % kDigits.size()];
    return line;
}

// Lines as long as the one before have a way of their own.
TEST(DecodeKernels, Base64LinesOfEveryLength) {
    for (const std::string lineEnd : {"\n", "\r\n", "\r", "\n\n", "\r\n\r\n", "\n\r\n"}) {
        for (size_t length = 0; length < 140; ++length) {
            for (const size_t lastLength : {length, length + 4, length / 2}) {
                std::string text;
                for (size_t line = 0; line < 4; ++line) text += base64Line(length, line) + lineEnd;
                text += base64Line(lastLength, 9) + lineEnd;
                ASSERT_TRUE(allAgreeOn({text.begin(), text.end()})) << length << ", " << lastLength;
            }
        }
    }
}

TEST(DecodeKernels, Base64LinesWithAnyByteAnywhere) {
    for (const size_t length : {8U, 32U, 76U, 100U}) {
        std::string text;
        for (size_t line = 0; line < 4; ++line) text += base64Line(length, line) + "\r\n";
        std::vector<uint8_t> bytes(text.begin(), text.end());
        for (size_t at = length + 2; at < 3 * (length + 2); ++at) {
            const uint8_t kept = bytes[at];
            for (const int byte :
                 std::initializer_list<int>{'-', '=', '\r', '\n', ' ', '/', '+', '@', '[', 0, 0x80, 0xFF}) {
                bytes[at] = static_cast<uint8_t>(byte);
                ASSERT_TRUE(allAgreeOn(bytes)) << length << ": " << byte << " at " << at;
            }
            bytes[at] = kept;
        }
    }
}

// Escapes and soft line breaks as they are written, more and less dense.
TEST(DecodeKernels, QuotedPrintableAsItIsWritten) {
    std::mt19937 random(20261122);
    for (int round = 0; round < 2000; ++round) {
        const std::string softBreak = round % 2 == 0 ? "=\r\n" : "=\n";
        const auto density = 1 + random() % 40;
        std::string text;
        while (text.size() < 400) {
            text += random() % density == 0 ? "=C3=A4" : random() % 20 == 0 ? softBreak : "Q";
        }
        text.resize(random() % text.size());
        ASSERT_TRUE(allAgreeOn({text.begin(), text.end()})) << "round " << round;
    }
}

TEST(DecodeKernels, RandomTexts) {
    std::mt19937 random(20261121);
    constexpr std::string_view kAlphabet = "==\r\n\n4A_ 0D2\t-Qx";
    for (int round = 0; round < 5000; ++round) {
        std::vector<uint8_t> text(random() % 300);
        const bool dense = round % 2 == 0;
        for (uint8_t& byte : text) {
            byte = dense || random() % 16 == 0 ? static_cast<uint8_t>(kAlphabet[random() % kAlphabet.size()])
                                               : 'Q';
        }
        ASSERT_TRUE(allAgreeOn(text)) << "round " << round;
    }
}

TEST(DecodeKernels, PlainOnesCanBeForced) { EXPECT_EQ(&chooseKernels(KernelLevel::kPlain), &kPlainKernels); }

}  // namespace
}  // namespace eml::test
