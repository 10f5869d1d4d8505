// The body of a section, as it stands in the message.
#pragma once

#include "container/container_context.h"

namespace eml {

// The length of a body counts with its low 32 bits, signed: what is above 2^31 - 1 reads as no body.
[[nodiscard]] inline int32_t bodyLength32(const EmlSection& section) {
    return static_cast<int32_t>(static_cast<uint32_t>((section.bodyEnd - section.bodyStart) & 0xFFFFFFFF));
}

// Writes the body as it stands. A read that yields nothing ends it quietly.
void copyBody(EmlContainerContext& context, const EmlSection& section, EmlIOobj& output);

// A body that was read whole.
struct WholeBody {
    uint8_t* bytes;  // a block of the services' allocator that the caller frees, or NULL
    uint32_t length;
};

// Reads the body whole. An empty one is EML_OK without bytes. EML_INPUT_UNUSABLE when the input cannot be
// positioned or its first read yields nothing; EML_NO_MEMORY when there is no block for it.
[[nodiscard]] EmlResult readWholeBody(EmlContainerContext& context, const EmlSection& section,
                                      WholeBody& body);

// A body that was read whole and decoded: `decoded` is either in the block of `body` or in context.decoded.
// Release it with releaseDecodedBody, also after a failure.
struct DecodedBody {
    WholeBody body;
    const uint8_t* bytes;
    uint32_t length;
};

[[nodiscard]] EmlResult readDecodedBody(EmlContainerContext& context, const EmlSection& section,
                                        DecodedBody& result);

void releaseDecodedBody(EmlContainerContext& context, DecodedBody& result);

}  // namespace eml
