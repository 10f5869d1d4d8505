#include "container/transfer_decoders.h"

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
    const int32_t length = eml::bodyLength32(section);
    if (length < 1) return EML_OK;
    if (!eml::seekFile(*context.input, section.bodyStart)) return EML_INPUT_UNUSABLE;
    eml::readBlocks(
        *context.input, length, [&] { return context.lineBuffer; },
        [&](const uint8_t* block, uint32_t count) {
            decoder.feed(block, block + count, writer);
            return !decoder.ended();
        });
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

// HTML is text.
bool isText(const EmlSection& section) {
    return section.contentClass == EML_CLASS_TEXT || section.contentClass == EML_CLASS_HTML;
}

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

namespace eml {

EmlResult writeDecodedBody(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output) {
    switch (section.encoding) {
        case TransferEncoding::kBase64:
            return eml2DecodeBASE64(context, section, isText(section) ? 1 : 0, output);
        case TransferEncoding::kQuotedPrintable:
            return eml2DecodeQP(context, section, output);
        case TransferEncoding::kNone:
        case TransferEncoding::k7Bit:
        case TransferEncoding::k8Bit:
            break;
    }
    copyBody(context, section, output);
    return EML_OK;
}

EmlResult readDecodedBody(EmlContainerContext& context, const EmlSection& section, DecodedBody& result) {
    result = {};
    EmlResult status = readWholeBody(context, section, result.body);
    result.bytes = result.body.bytes;
    result.length = result.body.length;
    if (status != EML_OK || result.length == 0) return status;
    const uint8_t* const end = result.bytes + result.length;
    context.decoded.length = 0;
    switch (section.encoding) {
        case TransferEncoding::kBase64:
            status = eml2DecodeBASE64Buffer(context, result.bytes, end);
            break;
        case TransferEncoding::kQuotedPrintable:
            status = eml2DecodeQPBuffer(context, result.bytes, end, 0);
            break;
        case TransferEncoding::kNone:
        case TransferEncoding::k7Bit:
        case TransferEncoding::k8Bit:
            return EML_OK;
    }
    result.bytes = context.decoded.data;
    result.length = context.decoded.length;
    return status;
}

void releaseDecodedBody(EmlContainerContext& context, DecodedBody& result) {
    freeBlock(allocatorOf(context), result.body.bytes);
    context.decoded.release(allocatorOf(context));
    result = {};
}

}  // namespace eml
