// A body as text, decoded in pieces: what readDecodedBody gives, without memory for all of it.
#pragma once

#include "bytes/base64.h"
#include "bytes/quoted_printable.h"
#include "container/section_body.h"

namespace eml {

// Reads a body block by block; feed(begin, end) says whether to go on. The results are those of readWholeBody: text
// of more than 2^31 - 1 bytes is refused as if there were no memory for it.
template <class Feed>
[[nodiscard]] EmlResult readText(EmlContainerContext& context, const EmlSection& section, Feed feed) {
    const int64_t length = section.bodyEnd - section.bodyStart;
    if (length <= 0) return EML_OK;
    if (!seekFile(*context.input, section.bodyStart)) return EML_INPUT_UNUSABLE;
    if (length > INT32_MAX) return EML_NO_MEMORY;
    bool anything = false;
    readBlocks(
        *context.input, length, [&] { return context.lineBuffer; },
        [&](const uint8_t* block, uint32_t count) {
            anything = true;
            return feed(block, block + count);
        });
    return anything ? EML_OK : EML_INPUT_UNUSABLE;
}

// Feeds the body to `decoder`, and its bytes to `sink`. The sink's take() is called after each block, and
// says whether to go on.
template <class Decoder, class Sink>
[[nodiscard]] EmlResult decodeText(EmlContainerContext& context, const EmlSection& section, Decoder decoder,
                                   Sink& sink) {
    const EmlResult result = readText(context, section, [&](const uint8_t* begin, const uint8_t* end) {
        decoder.feed(begin, end, sink);
        return sink.take() && !decoder.ended();
    });
    if (result == EML_OK) decoder.finish(sink);
    return result;
}

// Decodes by the transfer encoding of the section. A sink is one of bytes/sink.h with two functions more: take(), see
// above, and put(begin, end) for what is not encoded, which says whether to go on.
template <class Sink>
[[nodiscard]] EmlResult streamText(EmlContainerContext& context, const EmlSection& section, Sink& sink) {
    switch (section.encoding) {
        case TransferEncoding::kBase64:
            return decodeText(context, section, Base64Decoder<kContainerBase64>(true, *context.kernels),
                              sink);
        case TransferEncoding::kQuotedPrintable:
            return decodeText(context, section,
                              QuotedPrintableDecoder<kContainerBuffer>(false, *context.kernels), sink);
        case TransferEncoding::kNone:
        case TransferEncoding::k7Bit:
        case TransferEncoding::k8Bit:
            break;
    }
    return readText(context, section,
                    [&](const uint8_t* begin, const uint8_t* end) { return sink.put(begin, end); });
}

}  // namespace eml
