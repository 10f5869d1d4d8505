// All kernels give the same bytes: each level is held against the plain one, alone and inside the decoders.
#include "bytes/decode_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"

namespace eml::test {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The sets that this processor can run, the plain one first.
std::vector<const DecodeKernels*> kernelSets() {
    std::vector<const DecodeKernels*> sets = {&kPlainKernels};
    if (const DecodeKernels* best = &chooseKernels(); best != &kPlainKernels) sets.push_back(best);
    return sets;
}

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

// The text and the output stand in blocks of exactly their sizes, so that a byte too far is seen.
Outcome base64Lines(const DecodeKernels& kernels, const std::vector<uint8_t>& text, size_t room) {
    const std::vector<uint8_t> exact(text);
    std::vector<uint8_t> output(room);
    uint8_t* out = output.data();
    const uint8_t* const begin = exact.data();
    const uint8_t* const left = kernels.base64Lines(begin, begin + exact.size(), out, output.data() + room);
    return {left - begin, {output.data(), out}};
}

Outcome quotedText(const DecodeKernels& kernels, const std::vector<uint8_t>& text, QuotedStops stops) {
    const std::vector<uint8_t> exact(text);
    std::vector<uint8_t> output(text.size());
    uint8_t* out = output.data();
    const uint8_t* const begin = exact.data();
    const uint8_t* const left = kernels.quotedText(begin, begin + exact.size(), stops, out);
    return {left - begin, {output.data(), out}};
}

struct LineEndFound {
    ptrdiff_t lineEnd;
    ptrdiff_t zero;

    bool operator==(const LineEndFound&) const = default;
};

LineEndFound findLineEnd(const DecodeKernels& kernels, const std::vector<uint8_t>& text) {
    const std::vector<uint8_t> exact(text);
    const uint8_t* zero = nullptr;
    const uint8_t* const end = kernels.findLineEnd(exact.data(), exact.data() + exact.size(), zero);
    return {end - exact.data(), zero - exact.data()};
}

ptrdiff_t findTextRunEnd(const DecodeKernels& kernels, const std::vector<uint8_t>& text) {
    const std::vector<uint8_t> exact(text);
    return kernels.findTextRunEnd(exact.data(), exact.data() + exact.size()) - exact.data();
}

// The positions that can be looked for in a text are those with `distance` bytes behind them.
ptrdiff_t findPair(const DecodeKernels& kernels, const std::vector<uint8_t>& text, size_t distance) {
    const std::vector<uint8_t> exact(text);
    const uint8_t* const end = exact.data() + exact.size() - distance;
    return kernels.findPair(exact.data(), end, '=', '4', distance) - exact.data();
}

constexpr uint16_t kNone = QuotedStops::kNone;
constexpr QuotedStops kStops[] = {
    {false, kNone, kNone}, {true, kNone, kNone}, {false, '\r', kNone}, {true, '\r', ' '}};

// True when every kernel of every set does with the text what the plain one does.
testing::AssertionResult allAgreeOn(const std::vector<uint8_t>& text) {
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

// Every byte at every place of a wide register and behind it.
TEST(DecodeKernels, EveryByteStopsEverySetWhereItStopsThePlainOne) {
    for (int byte = 0; byte < 256; ++byte) {
        for (size_t at = 0; at < 80; at += at < 34 ? 1 : 9) {
            std::vector<uint8_t> text(80, 'Q');
            text[at] = static_cast<uint8_t>(byte);
            ASSERT_TRUE(allAgreeOn(text)) << byte << " at " << at;
        }
    }
}

// What begins with "=" may begin at every place of a block, and the text may end at every place behind it.
TEST(DecodeKernels, EveryStopAtEveryPlaceOfEveryLength) {
    const std::string stops[] = {"=41",    "=",      "=\r\n",  "=\n",     "=\r", "=\rx",   "==41",
                                 "===",    "=4=41",  "=0D",    "=20\r\n", "=G1", "_",      "=_",
                                 "=C3=9F", "=\r=\r", "=\n=\n", "\r\n",    "-",   {"\0", 1}};
    for (const std::string& stop : stops) {
        for (size_t before = 0; before < 66; ++before) {
            for (const size_t behind : {0, 1, 2, 62, 130}) {
                const std::string text = std::string(before, 'Q') + stop + std::string(behind, 'R');
                ASSERT_TRUE(allAgreeOn({text.begin(), text.end()})) << stop << " behind " << before;
            }
        }
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
