// Header blocks of the message and its parts, as the filter reads them for their MIME structure.
#pragma once

#include "filter/filter_context.h"

// Reads one header block from `position`, a line start in the input buffer, up to the empty line that ends it
// or to the end of the buffer, and moves behind it. In scan mode a part that is an attachment is recorded.
// Gives 1, or 0 with EML_NO_MEMORY in lastError.
[[nodiscard]] uint32_t decodeContentType(EmlFilterContext& context, const uint8_t*& position, bool scanMode);
