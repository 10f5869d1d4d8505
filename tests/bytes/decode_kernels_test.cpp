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

// Every byte at every place of a wide register and behind it.
TEST(DecodeKernels, EveryByteStopsEverySetWhereItStopsThePlainOne) {
    for (const DecodeKernels* kernels : kernelSets()) {
        for (int byte = 0; byte < 256; ++byte) {
            for (size_t at = 0; at < 80; ++at) {
                std::vector<uint8_t> text(80, 'Q');
                text[at] = static_cast<uint8_t>(byte);
                const uint8_t* const begin = text.data();
                const uint8_t* const end = begin + text.size();
                ASSERT_EQ(kernels->findTextRunEnd(begin, end) - begin,
                          kPlainKernels.findTextRunEnd(begin, end) - begin);
                std::vector<uint8_t> one(80);
                std::vector<uint8_t> other(80);
                uint8_t* oneEnd = one.data();
                uint8_t* otherEnd = other.data();
                ASSERT_EQ(kernels->base64Groups(begin, 20, oneEnd) - begin,
                          kPlainKernels.base64Groups(begin, 20, otherEnd) - begin);
                ASSERT_EQ(std::vector<uint8_t>(one.data(), oneEnd),
                          std::vector<uint8_t>(other.data(), otherEnd));
                oneEnd = one.data();
                otherEnd = other.data();
                ASSERT_EQ(kernels->copyUntil(begin, end, '=', '_', oneEnd) - begin,
                          kPlainKernels.copyUntil(begin, end, '=', '_', otherEnd) - begin);
                ASSERT_EQ(std::vector<uint8_t>(one.data(), oneEnd),
                          std::vector<uint8_t>(other.data(), otherEnd));
            }
        }
    }
}

TEST(DecodeKernels, PlainOnesCanBeForced) { EXPECT_EQ(&chooseKernels(KernelLevel::kPlain), &kPlainKernels); }

}  // namespace
}  // namespace eml::test
