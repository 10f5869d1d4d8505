#include "container/section_body.h"

#include "host/host_memory.h"

namespace eml {

void copyBody(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output) {
    (void)seekFile(*context.input, section.bodyStart);
    readBlocks(
        *context.input, bodyLength32(section), [&] { return context.lineBuffer; },
        [&](const uint8_t* block, uint32_t count) {
            writeFile(output, block, count);
            return true;
        });
}

EmlResult readWholeBody(EmlContainerContext& context, const EmlSection& section, WholeBody& body) {
    body = {};
    const int64_t length = section.bodyEnd - section.bodyStart;
    if (length <= 0) return EML_OK;
    if (!seekFile(*context.input, section.bodyStart)) return EML_INPUT_UNUSABLE;
    if (length > INT32_MAX) return EML_NO_MEMORY;
    body.bytes = static_cast<uint8_t*>(allocateBlock(allocatorOf(context), static_cast<uint64_t>(length)));
    if (body.bytes == nullptr) return EML_NO_MEMORY;
    readBlocks(
        *context.input, length, [&] { return body.bytes + body.length; },
        [&](const uint8_t*, uint32_t count) {
            body.length += count;
            return true;
        });
    if (body.length != 0) return EML_OK;
    freeBlock(allocatorOf(context), body.bytes);
    body = {};
    return EML_INPUT_UNUSABLE;
}

}  // namespace eml
