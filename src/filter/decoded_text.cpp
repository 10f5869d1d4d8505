#include "filter/decoded_text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "filter/input_reader.h"
#include "host/host_file.h"

namespace eml {

namespace {

// Decoders give at most one byte for each that they get, and these for what they got before. One more is the zero
// byte after the text.
constexpr uint32_t kSpare = 8;

static_assert(kDecodedWindow > kTextAhead + kInputSize + kSpare, "a window has room for something new");

// Counts what is decoded and forgets it.
class CountingSink {
  public:
    [[nodiscard]] OutputSpan space() { return {bytes_.data(), bytes_.data() + bytes_.size()}; }
    void commit(const uint8_t* end) { add(static_cast<size_t>(end - bytes_.data())); }
    void add(size_t count) { count_ += static_cast<int32_t>(count); }
    [[nodiscard]] int32_t count() const { return count_; }

  private:
    std::array<uint8_t, kInputSize> bytes_{};
    int32_t count_ = 0;
};

// What the two encodings do differently.
struct Base64Text {
    static constexpr TransferEncoding kEncoding = TransferEncoding::kBase64;
    static constexpr EmlResult kGrowthFailure = EML_NO_MEMORY;

    static Base64Decoder<kFilterBase64> decoder(const EmlFilterContext& context) {
        return Base64Decoder<kFilterBase64>(true, *context.kernels);
    }
    static Base64Mark& mark(DecodedRest& rest) { return rest.base64; }
    static void count(Base64Decoder<kFilterBase64>& decoder, const InputRun& run, CountingSink& counter) {
        decoder.feed(run.begin, run.end, counter);
    }
};

struct QuotedPrintableText {
    static constexpr TransferEncoding kEncoding = TransferEncoding::kQuotedPrintable;
    static constexpr EmlResult kGrowthFailure = EML_OBJECT_FAILED;

    // KEPT: "_" is a blank in whole bodies too, not only in encoded words.
    static QuotedPrintableDecoder<kFilterText> decoder(const EmlFilterContext& context) {
        return QuotedPrintableDecoder<kFilterText>(true, *context.kernels);
    }
    static QuotedPrintableMark& mark(DecodedRest& rest) { return rest.quotedPrintable; }
    static void count(QuotedPrintableDecoder<kFilterText>& decoder, const InputRun& run,
                      CountingSink& counter) {
        decoder.count(run.begin, run.end, counter);
    }
};

// Appends to the decode buffer. Room for the zero byte after the text is kept.
class DecodeSink {
  public:
    explicit DecodeSink(EmlFilterContext& context) : context_(context) {}

    [[nodiscard]] OutputSpan space() {
        GrowingBuffer& buffer = context_.body.decoded;
        if (buffer.data == nullptr || buffer.reserve(allocatorOf(context_), 2) != EML_OK) return {};
        return {buffer.data + buffer.length, buffer.data + buffer.capacity - 1};
    }

    void commit(const uint8_t* end) {
        GrowingBuffer& buffer = context_.body.decoded;
        if (buffer.data != nullptr) buffer.length = static_cast<uint32_t>(end - buffer.data);
    }

  private:
    EmlFilterContext& context_;
};

// Room for text in a window of `size` bytes.
int64_t roomIn(uint32_t size, const EmlFilterContext& context) {
    return int64_t{size} - kSpare - context.body.decoded.length;
}

// `size`, or what a test has set in place of it.
uint32_t settledSize(const EmlFilterContext& context, uint32_t size) {
    const uint32_t other = context.body.rest.windowSize;
    return other != 0 ? other : size;
}

// The buffer becomes the input.
void useDecoded(EmlFilterContext& context) {
    const GrowingBuffer& buffer = context.body.decoded;
    buffer.data[buffer.length] = 0;
    context.input.readPos = buffer.data;
    context.input.end = buffer.data + buffer.length;
}

template <class Text>
EmlResult decodeFirst(EmlFilterContext& context) {
    GrowingBuffer& buffer = context.body.decoded;
    DecodedRest& rest = context.body.rest;
    buffer.length = 0;
    rest.left = 0;
    if (buffer.reserve(allocatorOf(context), kGrowthUnit) != EML_OK) return EML_OBJECT_FAILED;
    auto decoder = Text::decoder(context);
    DecodeSink sink(context);
    CountingSink counter;
    bool held = true;
    while (!decoder.ended()) {
        const InputRun run = takeRun(context, context.body.length);
        if (run.begin == run.end) break;
        const ptrdiff_t length = run.end - run.begin;
        if (held && context.body.length > 0 && length > roomIn(settledSize(context, kDecodedHeld), context)) {
            held = false;
            rest.position = context.input.readCount - static_cast<int32_t>(length);
            rest.encoding = Text::kEncoding;
            Text::mark(rest) = decoder.mark();
        }
        if (held) {
            decoder.feed(run.begin, run.end, sink);
        } else {
            Text::count(decoder, run, counter);
        }
    }
    if (held) {
        decoder.finish(sink);
    } else {
        decoder.finish(counter);
    }
    if (buffer.data == nullptr) {
        forgetInput(context);
        return Text::kGrowthFailure;
    }
    useDecoded(context);
    rest.left = counter.count();
    rest.end = context.input.readCount;
    context.body.converted = 0;
    context.body.length = static_cast<int32_t>(buffer.length) + rest.left;
    return EML_OK;
}

// Decodes until the window is full, or nothing is left. The bytes may be others than those that were counted: no
// more of them than that become text.
template <class Text>
void decodeOn(EmlFilterContext& context) {
    GrowingBuffer& buffer = context.body.decoded;
    DecodedRest& rest = context.body.rest;
    const uint32_t kept = buffer.length;
    const uint32_t size = std::min(settledSize(context, kDecodedWindow), buffer.capacity);  // it never grows
    auto decoder = Text::decoder(context);
    decoder.resume(Text::mark(rest));
    DecodeSink sink(context);
    const auto decoded = [&] { return static_cast<int32_t>(buffer.length - kept); };
    while (!decoder.ended() && decoded() < rest.left) {
        const int64_t room = roomIn(size, context);
        if (room < kInputSize && buffer.length >= kTextAhead) break;
        const int32_t unread = rest.end - context.input.readCount;
        const int32_t count = readBuf(context, static_cast<int32_t>(std::min<int64_t>(room, unread)));
        if (count < 1) {
            decoder.finish(sink);
        } else {
            decoder.feed(context.input.buffer, context.input.buffer + count, sink);
        }
    }
    rest.position = context.input.readCount;
    Text::mark(rest) = decoder.mark();
    const int32_t used = std::min(decoded(), rest.left);
    buffer.length = kept + static_cast<uint32_t>(used);
    rest.left = decoder.ended() ? 0 : rest.left - used;
}

}  // namespace

EmlResult decodeText(EmlFilterContext& context, TransferEncoding encoding) {
    return encoding == TransferEncoding::kBase64 ? decodeFirst<Base64Text>(context)
                                                 : decodeFirst<QuotedPrintableText>(context);
}

bool decodeNextWindow(EmlFilterContext& context) {
    GrowingBuffer& buffer = context.body.decoded;
    DecodedRest& rest = context.body.rest;
    if (!seekFile(*context.io, int64_t{context.body.start} + rest.position)) {
        rest.left = 0;
        forgetInput(context);
        return false;
    }
    buffer.length = static_cast<uint32_t>(context.input.end - context.input.readPos);
    std::memmove(buffer.data, context.input.readPos, buffer.length);
    context.input.carryCount = 0;
    context.input.readCount = rest.position;
    if (rest.encoding == TransferEncoding::kBase64) {
        decodeOn<Base64Text>(context);
    } else {
        decodeOn<QuotedPrintableText>(context);
    }
    context.input.readCount = rest.end;
    useDecoded(context);
    return true;
}

}  // namespace eml
