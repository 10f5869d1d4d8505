// Encoded words in header text (RFC 2047).
#pragma once

#include "container/container_context.h"

// Appends `length` bytes of header text (no line end among them) to context.decoded, encoded words decoded.
// The bytes stay in the charset of the message: the charset that a word names is not applied. EML_NO_MEMORY
// when the buffer cannot grow; what was appended before stays.
[[nodiscard]] EmlResult emlDecodeMetaText(EmlContainerContext& context, const uint8_t* text, uint32_t length);
