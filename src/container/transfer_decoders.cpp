#include "container/transfer_decoders.h"

#include <algorithm>

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "container/section_body.h"
#include "host/block_writer.h"
#include "host/host_file.h"

namespace {

using eml::BlockWriter;

using StreamBase64 = eml::Base64Decoder<eml::kContainerBase64>;
using StreamQuotedPrintable = eml::QuotedPrintableDecoder<eml::kContainerStream>;
using BufferQuotedPrintable = eml::QuotedPrintableDecoder<eml::kContainerBuffer>;

// Feeds the body of a section to a decoder, block by block.
template <class Decoder>
EmlResult streamBody(EmlContainerContext& context, const EmlSection& section, Decoder& decoder,
                     BlockWriter& writer) {
    int32_t left = eml::bodyLength32(section);
    if (left < 1) return EML_OK;
    if (!eml::seekFile(*context.input, section.bodyStart)) return EML_INPUT_UNUSABLE;
    while (left > 0 && !decoder.ended()) {
        const auto wanted = static_cast<uint32_t>(std::min<int32_t>(left, kBlockSize));
        const uint32_t count = eml::readFile(*context.input, context.lineBuffer, wanted);
        if (count == 0) break;
        left -= static_cast<int32_t>(count);
        decoder.feed(context.lineBuffer, context.lineBuffer + count, writer);
    }
    return EML_OK;
}

// Appends to the context's decoded-text buffer.
class DecodedTextSink {
  public:
    explicit DecodedTextSink(EmlContainerContext& context) : context_(context) {}

    [[nodiscard]] EmlResult result() const { return result_; }

    [[nodiscard]] eml::OutputSpan space() {
        if (result_ == EML_OK) result_ = context_.decoded.reserve(eml::allocatorOf(context_), 1);
        if (result_ != EML_OK) return {};
        return {context_.decoded.data + context_.decoded.length,
                context_.decoded.data + context_.decoded.capacity};
    }

    void commit(const uint8_t* end) {
        if (result_ == EML_OK) context_.decoded.length = static_cast<uint32_t>(end - context_.decoded.data);
    }

  private:
    EmlContainerContext& context_;
    EmlResult result_ = EML_OK;
};

}  // namespace

EmlResult eml2DecodeBASE64(EmlContainerContext& context, const EmlSection& section, uint32_t textMode,
                           EmlIOobj& output) {
    uint8_t block[eml::kOutputBlockSize];
    BlockWriter writer(output, block);
    StreamBase64 decoder(textMode != 0, *context.kernels);
    const EmlResult result = streamBody(context, section, decoder, writer);
    writer.flush();
    return result;
}

EmlResult eml2DecodeQP(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output) {
    uint8_t block[eml::kOutputBlockSize];
    BlockWriter writer(output, block);
    StreamQuotedPrintable decoder(false, *context.kernels);
    const EmlResult result = streamBody(context, section, decoder, writer);
    decoder.finish(writer);
    writer.flush();
    return result;
}

EmlResult eml2DecodeBASE64Buffer(EmlContainerContext& context, const uint8_t* begin, const uint8_t* end) {
    DecodedTextSink sink(context);
    StreamBase64 decoder(true, *context.kernels);
    decoder.feed(begin, end, sink);
    return sink.result();
}

EmlResult eml2DecodeQPBuffer(EmlContainerContext& context, const uint8_t* begin, const uint8_t* end,
                             uint32_t underscoreIsSpace) {
    DecodedTextSink sink(context);
    BufferQuotedPrintable decoder(underscoreIsSpace != 0, *context.kernels);
    decoder.feed(begin, end, sink);
    decoder.finish(sink);
    return sink.result();
}
