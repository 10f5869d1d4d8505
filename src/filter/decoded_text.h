// Encoded text, decoded into a buffer that becomes the input of processEMLplainbody. Short texts are held whole, of
// long ones a window at a time: the body is then read once to count the text, and once more window by window.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// A decoded body of this size is held whole, of a longer one so much, and then windows that the processor's cache
// holds.
inline constexpr uint32_t kDecodedHeld = 4U << 20;
inline constexpr uint32_t kDecodedWindow = 256U << 10;

// At least so many bytes are decoded ahead of the read position, unless the text ends before.
inline constexpr int32_t kTextAhead = 128;

// Decodes the rest of the body, or what stands in the buffer when body.length is below 1. Codes are those of
// processEMLqpbody and processEMLbase64body.
[[nodiscard]] EmlResult decodeText(EmlFilterContext& context, TransferEncoding encoding);

// True when the next window must be decoded before more of the text is looked at.
[[nodiscard]] inline bool isWindowUsedUp(const EmlFilterContext& context) {
    return context.body.rest.left != 0 && context.input.end - context.input.readPos < kTextAhead;
}

// Decodes the next window; what is left of the one before it stands at its start. False when the input cannot be
// positioned: nothing is left then. What can no longer be read ends the text.
[[nodiscard]] bool decodeNextWindow(EmlFilterContext& context);

// Bytes of the text that are still to be converted.
[[nodiscard]] inline int64_t textLeft(const EmlFilterContext& context) {
    return context.input.end - context.input.readPos + int64_t{context.body.rest.left};
}

}  // namespace eml
