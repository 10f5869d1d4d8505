// The body of a section, as it stands in the message.
#pragma once

#include "container/container_context.h"
#include "host/host_file.h"

namespace eml {

// The length of a body, in its low 32 bits, signed: a length above 2^31 - 1 counts as no body.
[[nodiscard]] inline int32_t bodyLength32(const EmlSection& section) {
    return static_cast<int32_t>(static_cast<uint32_t>((section.bodyEnd - section.bodyStart) & 0xFFFFFFFF));
}

// Reads `length` bytes from the current position of the input, block by block, into the memory that place()
// returns. take(block, count) is called after each read and says whether to go on. A read without data ends
// the loop.
template <class Place, class Take>
void readBlocks(EmlIOobj& input, int64_t length, Place place, Take take) {
    for (int64_t left = length; left > 0;) {
        const auto wanted = static_cast<uint32_t>(left < kBlockSize ? left : int64_t{kBlockSize});
        uint8_t* const block = place();
        const uint32_t count = readFile(input, block, wanted);
        left -= count;
        if (count == 0 || !take(block, count)) return;
    }
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

}  // namespace eml
