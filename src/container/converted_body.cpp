#include "container/converted_body.h"

#include <algorithm>
#include <iterator>

#include "container/text_stream.h"
#include "host/host_text.h"

namespace eml {

namespace {

// Text is converted when there is as much of it; more where no byte tells where a character ends.
constexpr uint32_t kPieceSize = 16384;

// The bytes of a character that has several are at least this, whatever the charset.
constexpr uint8_t kFirstTrailByte = '0';

// Charsets without state: a character does not depend on what stands before it. The others of these ids, and those of
// the host alone, may have any.
constexpr uint32_t kStateless[] = {
    EML_CHARSET_SHIFT_JIS,      EML_CHARSET_GB2312,      EML_CHARSET_BIG5,        EML_CHARSET_KSC_5601,
    EML_CHARSET_CENTRAL_EUROPE, EML_CHARSET_CYRILLIC,    EML_CHARSET_WESTERN,     EML_CHARSET_GREEK,
    EML_CHARSET_TURKISH,        EML_CHARSET_HEBREW,      EML_CHARSET_ARABIC,      EML_CHARSET_BALTIC,
    EML_CHARSET_VIETNAMESE,     EML_CHARSET_ISO_8859_3,  EML_CHARSET_ISO_8859_4,  EML_CHARSET_ISO_8859_6,
    EML_CHARSET_ISO_8859_8,     EML_CHARSET_ISO_8859_9,  EML_CHARSET_ISO_8859_14, EML_CHARSET_ISO_8859_15,
    EML_CHARSET_DOS_862,        EML_CHARSET_UTF_8,       EML_CHARSET_EUC_JP,      EML_CHARSET_EUC_KR,
    EML_CHARSET_ISO_8859_10,    EML_CHARSET_ISO_8859_13, EML_CHARSET_GB18030,
};

bool isStateless(uint32_t charset) {
    return std::find(std::begin(kStateless), std::end(kStateless), charset) != std::end(kStateless);
}

// Cuts the decoded text into pieces, which go to convert(bytes, length).
template <class Convert>
class Pieces {
  public:
    Pieces(EmlContainerContext& context, Convert convert) : context_(context), convert_(convert) {
        text().length = 0;
    }

    [[nodiscard]] OutputSpan space() {
        if (result_ == EML_OK) result_ = text().reserve(allocatorOf(context_), 1);
        if (result_ != EML_OK) return {};
        return {text().data + text().length, text().data + text().capacity};
    }

    void commit(const uint8_t* end) {
        if (result_ == EML_OK) text().length = static_cast<uint32_t>(end - text().data);
    }

    [[nodiscard]] bool take() {
        if (result_ == EML_OK && text().length >= kPieceSize) convertWhatIsWhole();
        return result_ == EML_OK && more_;
    }

    [[nodiscard]] bool put(const uint8_t* begin, const uint8_t* end) {
        if (result_ == EML_OK)
            result_ = text().append(allocatorOf(context_), begin, static_cast<uint64_t>(end - begin));
        return take();
    }

    // Nothing follows.
    [[nodiscard]] EmlResult finish() {
        if (result_ == EML_OK && more_ && text().length != 0) (void)convert_(text().data, text().length);
        return result_;
    }

  private:
    GrowingBuffer& text() { return context_.decoded; }

    void convertWhatIsWhole() {
        uint32_t cut = text().length;
        while (cut > examined_ && text().data[cut - 1] >= kFirstTrailByte) --cut;
        if (cut == examined_) {
            examined_ = text().length;
            return;
        }
        more_ = convert_(text().data, cut);
        text().length -= cut;
        std::memmove(text().data, text().data + cut, text().length);
        examined_ = text().length;
    }

    EmlContainerContext& context_;
    Convert convert_;
    uint32_t examined_ = 0;  // no piece ends in so many bytes
    bool more_ = true;
    EmlResult result_ = EML_OK;
};

template <class Convert>
EmlResult forEachPiece(EmlContainerContext& context, const EmlSection& section, Convert convert) {
    Pieces<Convert> pieces(context, convert);
    const EmlResult result = streamText(context, section, pieces);
    return result == EML_OK ? pieces.finish() : result;
}

}  // namespace

bool convertsInPieces(uint32_t charset, uint32_t target) {
    return isStateless(charset) && isStateless(target);
}

EmlResult writeConvertedBody(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output) {
    EmlHostServices& services = *context.services;
    const uint32_t target = context.extract.outputCharset;
    uint32_t largest = 0;
    uint64_t all = 0;
    const auto measure = [&](const uint8_t* text, uint32_t length) {
        const uint32_t size = convertedSize(services, text, length, context.charset, target);
        largest = std::max(largest, size);
        all = size == 0 ? 0 : all + size;
        return size != 0;
    };
    const EmlResult result = forEachPiece(context, section, measure);
    // One conversion would not give more either.
    if (result != EML_OK || all == 0 || all > INT32_MAX) return result;
    const ScopedBlock block(allocatorOf(context), uint64_t{largest} + 2);
    if (block.bytes() == nullptr) return EML_OK;
    return forEachPiece(context, section, [&](const uint8_t* text, uint32_t length) {
        const uint32_t size =
            convertInto(services, text, length, context.charset, target, {block.bytes(), largest});
        if (size == 0) return false;
        writeFile(output, block.bytes(), size);
        context.extract.converted = 1;
        return true;
    });
}

}  // namespace eml
