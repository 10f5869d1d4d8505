// A decoder that goes on where another one stood, and the count of what quoted-printable text gives.
#include "bytes/decoder_marks.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "support/kernel_sets.h"

namespace eml::test {
namespace {

class StringSink {
  public:
    [[nodiscard]] OutputSpan space() { return {bytes_, bytes_ + sizeof bytes_}; }
    void commit(const uint8_t* end) { text_.append(bytes_ + 0, bytes_ + (end - bytes_)); }
    void add(size_t count) { text_.append(count, '?'); }
    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    uint8_t bytes_[48] = {};
    std::string text_;
};

const uint8_t* at(const std::string& text, size_t place) {
    return reinterpret_cast<const uint8_t*>(text.data()) + place;
}

template <class Decoder>
std::string decodeWhole(Decoder decoder, const std::string& text) {
    StringSink sink;
    decoder.feed(at(text, 0), at(text, text.size()), sink);
    decoder.finish(sink);
    return sink.text();
}

// The bytes up to `place` go to one decoder, those after it to another that goes on from its mark.
template <class Decoder>
std::string decodeInTwo(const Decoder& fresh, const std::string& text, size_t place) {
    StringSink sink;
    Decoder first = fresh;
    first.feed(at(text, 0), at(text, place), sink);
    if (first.ended()) return sink.text();
    Decoder second = fresh;
    second.resume(first.mark());
    second.feed(at(text, place), at(text, text.size()), sink);
    second.finish(sink);
    return sink.text();
}

void forEachText(const std::string& letters, size_t length,
                 const std::function<void(const std::string&)>& use) {
    std::string text(length, letters[0]);
    for (;;) {
        use(text);
        size_t i = 0;
        for (; i < length; ++i) {
            const size_t next = letters.find(text[i]) + 1;
            text[i] = letters[next % letters.size()];
            if (next != letters.size()) break;
        }
        if (i == length) return;
    }
}

TEST(DecoderMarks, Base64GoesOnAtEveryByte) {
    for (const DecodeKernels* kernels : kernelSets()) {
        const Base64Decoder<kFilterBase64> fresh(true, *kernels);
        forEachText("QUN=-!", 5, [&](const std::string& middle) {
            const std::string text = "QUJD\r\n" + middle + "REVGR0hJ";
            const std::string whole = decodeWhole(fresh, text);
            for (size_t place = 5; place < 14; ++place)
                ASSERT_EQ(decodeInTwo(fresh, text, place), whole) << text;
        });
    }
}

TEST(DecoderMarks, QuotedPrintableGoesOnAtEveryByte) {
    for (const DecodeKernels* kernels : kernelSets()) {
        const QuotedPrintableDecoder<kFilterText> fresh(true, *kernels);
        forEachText("=20\r\nx", 5, [&](const std::string& middle) {
            const std::string text = "ab" + middle + "0D=20\rc";
            const std::string whole = decodeWhole(fresh, text);
            for (size_t place = 1; place < text.size(); ++place)
                ASSERT_EQ(decodeInTwo(fresh, text, place), whole) << text;
        });
    }
}

// The count is what feeding gives, in every two pieces, and at every place of a block of 64 bytes.
TEST(DecoderMarks, QuotedPrintableIsCountedAsItIsDecoded) {
    const QuotedPrintableDecoder<kFilterText> fresh(true);
    const auto expectCount = [&](const std::string& text, size_t place) {
        StringSink sink;
        QuotedPrintableDecoder<kFilterText> decoder = fresh;
        decoder.count(at(text, 0), at(text, place), sink);
        decoder.count(at(text, place), at(text, text.size()), sink);
        decoder.finish(sink);
        ASSERT_EQ(sink.text().size(), decodeWhole(fresh, text).size()) << text << " at " << place;
    };
    forEachText("=20\r\n_D", 5, [&](const std::string& text) {
        for (size_t place = 0; place <= text.size(); ++place)
            ASSERT_NO_FATAL_FAILURE(expectCount(text, place));
    });
    for (const char* piece : {"=41", "=\r\n", "=\n", "=20\r\n", "=0D", "==41", "=", "=4", "=\r", "_",
                              "==", "=4=41", "=\r=41", "=\n=\r\n", "=0d", "=2"}) {
        for (size_t before = 0; before < 140; ++before) {
            const std::string text = std::string(before, 'x') + piece + piece + std::string(70, 'y') + piece;
            for (const size_t place : {size_t{0}, before, before + 1, before + 2, size_t{64}})
                ASSERT_NO_FATAL_FAILURE(expectCount(text, std::min(place, text.size())));
        }
    }
}

}  // namespace
}  // namespace eml::test
