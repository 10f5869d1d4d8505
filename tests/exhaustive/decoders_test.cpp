// Base64 and quoted-printable: every short body, in every rule set of both readers, whole and cut in two at
// every byte, with the plain kernels and the best ones, against the plain references.
#include <array>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "exhaustive/every_input.h"
#include "reference/decoders.h"
#include "reference/filter_extraction.h"
#include "reference/filter_text.h"
#include "support/kernel_sets.h"

namespace eml::test {
namespace {

using reference::shown;

// Takes everything, at most `atOnce` bytes at a time, in room that ends where its block ends.
class Sink {
  public:
    void restart(size_t atOnce) {
        atOnce_ = atOnce;
        taken.clear();
    }
    OutputSpan space() { return {room_.get() + (kRoom - atOnce_), room_.get() + kRoom}; }
    void commit(const uint8_t* end) {
        const uint8_t* const begin = room_.get() + (kRoom - atOnce_);
        taken.append(reinterpret_cast<const char*>(begin), static_cast<size_t>(end - begin));
    }

    static constexpr size_t kRoom = 512;
    std::string taken;

  private:
    size_t atOnce_ = kRoom;
    std::unique_ptr<uint8_t[]> room_{new uint8_t[kRoom]};
};

// Runs decoders of one kind over an input in every piecing, and holds what they give against `expected`.
class Runs {
  public:
    explicit Runs(Compared& compared) : compared_(compared) {}

    // `make(kernels)` makes a decoder. False when a run gave something else.
    template <class Make>
    bool agree(std::string_view input, std::string_view expected, Make make) {
        for (const DecodeKernels* const kernels : test::kernelSets()) {
            bool held = one(make(*kernels), input, input.size(), input.size(), Sink::kRoom, expected);
            held = one(make(*kernels), input, 1, 1, Sink::kRoom, expected) && held;
            held = one(make(*kernels), input, input.size(), input.size(), 1, expected) && held;
            for (size_t cut = 1; cut < input.size(); ++cut)
                held = one(make(*kernels), input, cut, input.size(), Sink::kRoom, expected) && held;
            if (!held) return false;
        }
        return true;
    }

  private:
    template <class Decoder>
    bool one(Decoder decoder, std::string_view input, size_t first, size_t others, size_t atOnce,
             std::string_view expected) {
        sink_.restart(atOnce);
        size_t size = 0;
        for (size_t from = 0; from < input.size(); from += size) {
            const std::string_view piece = input.substr(from, from == 0 ? first : others);
            const uint8_t* const bytes = blocks_.copy(piece);
            decoder.feed(bytes, bytes + piece.size(), sink_);
            size = piece.size();
        }
        decoder.finish(sink_);
        compared_.comparison();
        if (sink_.taken == expected) return true;
        ADD_FAILURE() << "input \"" << shown(input) << "\", first piece " << first << ", sink offers "
                      << atOnce << "\nexpected \"" << shown(expected) << "\"\ngot      \""
                      << shown(sink_.taken) << "\"";
        return false;
    }

    Compared& compared_;
    ExactBlocks blocks_;
    Sink sink_;
};

bool base64Agrees(Runs& runs, const std::string& input) {
    for (const bool dropCr : {false, true}) {
        const std::string ofContainer =
            reference::textOf(reference::decodeBase64(reference::bytesOf(input), dropCr));
        const std::string ofFilter = reference::extractedBase64(input, dropCr);
        if (dropCr && ofFilter != reference::filterBase64(input)) {
            ADD_FAILURE() << "two references differ: " << shown(input);
            return false;
        }
        const bool held = runs.agree(input, ofContainer, [&](const DecodeKernels& kernels) {
            return Base64Decoder<kContainerBase64>(dropCr, kernels);
        }) && runs.agree(input, ofFilter, [&](const DecodeKernels& kernels) {
            return Base64Decoder<kFilterBase64>(dropCr, kernels);
        });
        if (!held) return false;
    }
    return true;
}

template <QuotedPrintableRules R>
bool quotedPrintableAgrees(Runs& runs, const std::string& input, bool underscoreIsSpace,
                           const std::string& expected) {
    return runs.agree(input, expected, [&](const DecodeKernels& kernels) {
        return QuotedPrintableDecoder<R>(underscoreIsSpace, kernels);
    });
}

bool quotedPrintableAgrees(Runs& runs, const std::string& input) {
    const reference::Bytes bytes = reference::bytesOf(input);
    const auto headerText = [&](bool underscoreIsSpace) {
        return reference::textOf(reference::decodeQuotedPrintableText(bytes, underscoreIsSpace));
    };
    return quotedPrintableAgrees<kContainerStream>(
               runs, input, false, reference::textOf(reference::decodeQuotedPrintableBody(bytes))) &&
           quotedPrintableAgrees<kContainerBuffer>(runs, input, false, headerText(false)) &&
           quotedPrintableAgrees<kContainerBuffer>(runs, input, true, headerText(true)) &&
           quotedPrintableAgrees<kFilterText>(runs, input, true, reference::filterQuotedPrintable(input)) &&
           quotedPrintableAgrees<kFilterExtract>(runs, input, false,
                                                 reference::extractedQuotedPrintable(input));
}

// The text stands in the middle of `clean`, which a wide register takes in one step, after each number of
// bytes in `places`.
template <class Agrees>
void holdInTheMiddle(std::string_view clean, const PieceList& pieces, size_t most,
                     std::initializer_list<size_t> places, Agrees agrees) {
    Compared compared;
    Runs runs(compared);
    for (const size_t place : places) {
        forEveryText(pieces, most, [&](const std::string& text) {
            compared.input();
            std::string input(clean.substr(0, place));
            input += text;
            input += clean;
            return agrees(runs, input);
        });
    }
}

TEST(EveryShortBody, Base64) {
    Compared compared;
    Runs runs(compared);
    // "DQ" begins a decoded CR, "Cg" a decoded LF.
    forEveryText(bytesAsPieces("DQ/=-\n\xFF "), longest(4, 6), [&](const std::string& input) {
        compared.input();
        return base64Agrees(runs, input);
    });
}

TEST(EveryShortBody, Base64OfDigitsPaddingAndDashes) {
    Compared compared;
    Runs runs(compared);
    forEveryText(bytesAsPieces("D=-"), longest(7, 10), [&](const std::string& input) {
        compared.input();
        return base64Agrees(runs, input);
    });
}

TEST(EveryShortBody, Base64BetweenLongRunsOfDigits) {
    std::string clean;
    for (int i = 0; i < 12; ++i) clean += "TWFuDQ0N";
    holdInTheMiddle(clean, bytesAsPieces("D=-\r\n\xFF"), longest(1, 3), {0, 1, 2, 3, 31, 32, 33, 63, 64},
                    base64Agrees);
}

TEST(EveryShortBody, QuotedPrintable) {
    Compared compared;
    Runs runs(compared);
    forEveryText(bytesAsPieces("=20D\r\n_a\xFF"), longest(4, 6), [&](const std::string& input) {
        compared.input();
        return quotedPrintableAgrees(runs, input);
    });
}

TEST(EveryShortBody, QuotedPrintableOfEscapesAndLineEnds) {
    Compared compared;
    Runs runs(compared);
    const PieceList pieces = {"=20", "=0D", "=0A", "=", "\r", "\n", "_", "=4", "=zz", "x"};
    forEveryText(pieces, longest(3, 5), [&](const std::string& input) {
        compared.input();
        return quotedPrintableAgrees(runs, input);
    });
}

TEST(EveryShortBody, QuotedPrintableBetweenLongRunsOfText) {
    const std::string clean = "The quick brown fox jumps over the lazy dog, and nothing in it needs care.";
    const PieceList pieces = {"=20", "=0D", "=", "\r", "\n", "_", "\xFF"};
    holdInTheMiddle(clean, pieces, longest(1, 3), {0, 1, 2, 3, 31, 32, 33, 63, 64},
                    [](Runs& runs, const std::string& input) { return quotedPrintableAgrees(runs, input); });
}

}  // namespace
}  // namespace eml::test
