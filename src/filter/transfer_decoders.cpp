#include "filter/transfer_decoders.h"

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "bytes/unreachable.h"
#include "filter/body_text.h"
#include "filter/decoded_text.h"
#include "filter/input_reader.h"
#include "host/block_writer.h"
#include "host/host_file.h"

namespace {

using eml::BlockWriter;
using eml::InputRun;

using FilterBase64 = eml::Base64Decoder<eml::kFilterBase64>;
using ExtractQuotedPrintable = eml::QuotedPrintableDecoder<eml::kFilterExtract>;

bool seekToAttachment(EmlFilterContext& context, const EmlAttachment& attachment) {
    eml::resetReader(context);
    eml::forgetInput(context);
    return eml::seekFile(*context.io, attachment.offset);
}

void storeSize(EmlIOobj& output, int64_t count) {
    output.size[0] = static_cast<uint32_t>(count & 0xFFFFFFFF);
    output.size[1] = static_cast<uint32_t>(count >> 32 & 0xFFFFFFFF);
}

bool makeExtractBuffer(EmlFilterContext& context) {
    if (context.extractBuffer == nullptr) {
        context.extractBuffer =
            static_cast<uint8_t*>(eml::allocateBlock(eml::allocatorOf(context), eml::kOutputBlockSize));
    }
    return context.extractBuffer != nullptr;
}

template <class Decoder>
EmlResult extract(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment,
                  Decoder decoder) {
    if (!makeExtractBuffer(context)) return EML_NO_MEMORY;
    if (!seekToAttachment(context, attachment)) return EML_OBJECT_FAILED;
    BlockWriter writer(output, context.extractBuffer);
    InputRun run = eml::takeRun(context, attachment.size);
    if (run.begin == run.end) return EML_OBJECT_FAILED;
    for (; run.begin != run.end && !decoder.ended(); run = eml::takeRun(context, attachment.size)) {
        decoder.feed(run.begin, run.end, writer);
    }
    decoder.finish(writer);
    writer.flush();
    storeSize(output, static_cast<int64_t>(writer.written()));
    return EML_OK;
}

// After a step that filled the output only what is left of its decoded bytes is converted.
EmlResult decodeBody(EmlFilterContext& context, bool fieldMode, eml::TransferEncoding encoding) {
    // A decoder alone fills the output before another, and its bytes are still there.
    const bool resumes = context.output.full && !EML_NEVER(context.body.decoded.data == nullptr);
    if (!resumes) {
        if (EmlResult result = eml::decodeText(context, encoding); result != EML_OK) return result;
    }
    return processEMLplainbody(context, fieldMode) ? EML_OK : EML_OBJECT_FAILED;
}

}  // namespace

EmlResult emlnone(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment) {
    if (output.write == nullptr || !seekToAttachment(context, attachment)) return EML_OBJECT_FAILED;
    int64_t written = 0;
    for (InputRun run = eml::takeRun(context, attachment.size); run.begin != run.end;
         run = eml::takeRun(context, attachment.size)) {
        const auto count = static_cast<uint32_t>(run.end - run.begin);
        eml::writeFile(output, run.begin, count);
        written += count;
    }
    storeSize(output, written);
    return EML_OK;
}

EmlResult emlqp(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment) {
    return extract(context, output, attachment, ExtractQuotedPrintable(false, *context.kernels));
}

EmlResult emlbase64(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment,
                    bool textMode) {
    return extract(context, output, attachment, FilterBase64(textMode, *context.kernels));
}

EmlResult processEMLqpbody(EmlFilterContext& context, bool fieldMode) {
    return decodeBody(context, fieldMode, eml::TransferEncoding::kQuotedPrintable);
}

EmlResult processEMLbase64body(EmlFilterContext& context, bool fieldMode) {
    return decodeBody(context, fieldMode, eml::TransferEncoding::kBase64);
}

namespace eml {

EmlResult extractDecoded(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment,
                         bool textMode) {
    switch (attachment.encoding) {
        case TransferEncoding::kBase64:
            return emlbase64(context, output, attachment, textMode);
        case TransferEncoding::kQuotedPrintable:
            return emlqp(context, output, attachment);
        case TransferEncoding::kNone:
        case TransferEncoding::k7Bit:
        case TransferEncoding::k8Bit:
            break;
    }
    return emlnone(context, output, attachment);
}

std::optional<EmlResult> convertEncodedBody(EmlFilterContext& context) {
    switch (context.transferEncoding) {
        case TransferEncoding::kBase64:
            // KEPT: after the base64 step the quoted-printable step always runs too, and its result is the one
            // that counts.
            (void)processEMLbase64body(context, false);
            return processEMLqpbody(context, false);
        case TransferEncoding::kQuotedPrintable:
            return processEMLqpbody(context, false);
        case TransferEncoding::kNone:
        case TransferEncoding::k7Bit:
        case TransferEncoding::k8Bit:
            break;
    }
    return std::nullopt;
}

}  // namespace eml
