#include "container/section_body.h"

#include <algorithm>

#include "container/transfer_decoders.h"
#include "host/host_file.h"
#include "host/host_memory.h"

namespace eml {

namespace {

EmlResult decodeWholeBody(EmlContainerContext& context, uint32_t encoding, const WholeBody& body) {
    context.decoded.length = 0;
    const uint8_t* const end = body.bytes + body.length;
    return encoding == EML_ENC_QP ? eml2DecodeQPBuffer(context, body.bytes, end, 0)
                                  : eml2DecodeBASE64Buffer(context, body.bytes, end);
}

}  // namespace

void copyBody(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output) {
    (void)seekFile(*context.input, section.bodyStart);
    int32_t left = bodyLength32(section);
    while (left > 0) {
        const auto wanted = static_cast<uint32_t>(std::min<int32_t>(left, kBlockSize));
        const uint32_t count = readFile(*context.input, context.lineBuffer, wanted);
        if (count == 0) return;
        left -= static_cast<int32_t>(count);
        writeFile(output, context.lineBuffer, count);
    }
}

EmlResult readWholeBody(EmlContainerContext& context, const EmlSection& section, WholeBody& body) {
    body = {};
    const int64_t length = section.bodyEnd - section.bodyStart;
    if (length <= 0) return EML_OK;
    if (!seekFile(*context.input, section.bodyStart)) return EML_INPUT_UNUSABLE;
    if (length > INT32_MAX) return EML_NO_MEMORY;
    body.bytes = static_cast<uint8_t*>(allocateBlock(allocatorOf(context), static_cast<uint64_t>(length)));
    if (body.bytes == nullptr) return EML_NO_MEMORY;
    while (body.length < length) {
        const auto wanted = static_cast<uint32_t>(std::min<int64_t>(length - body.length, kBlockSize));
        const uint32_t count = readFile(*context.input, body.bytes + body.length, wanted);
        if (count == 0) break;
        body.length += count;
    }
    if (body.length != 0) return EML_OK;
    freeBlock(allocatorOf(context), body.bytes);
    body = {};
    return EML_INPUT_UNUSABLE;
}

EmlResult readDecodedBody(EmlContainerContext& context, const EmlSection& section, DecodedBody& result) {
    result = {};
    if (EmlResult status = readWholeBody(context, section, result.body); status != EML_OK) return status;
    result.bytes = result.body.bytes;
    result.length = result.body.length;
    if (result.length == 0 || (section.encoding != EML_ENC_QP && section.encoding != EML_ENC_BASE64))
        return EML_OK;
    const EmlResult status = decodeWholeBody(context, section.encoding, result.body);
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
