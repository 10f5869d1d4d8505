// Encoded words in header text (RFC 2047).
#pragma once

#include "container/container_context.h"

// Decodes the encoded words of `length` bytes of header text without line ends, and appends the text to
// context.decoded. The bytes stay in the charset of the message: the charset named by a word is not applied.
// EML_NO_MEMORY when the buffer cannot grow; what was appended before stays.
[[nodiscard]] EmlResult emlDecodeMetaText(EmlContainerContext& context, const uint8_t* text, uint32_t length);
