// Header blocks of the message and its parts, as the filter reads them for their MIME structure.
#pragma once

#include "filter/filter_context.h"

// Reads one header block from `position`, a line start in the input buffer, up to the empty line that ends it
// or to the end of the buffer, and moves past it. In scan mode a part that is an attachment is recorded.
// EML_NO_MEMORY, which lastError then has too, when a table or a boundary could not be stored.
[[nodiscard]] EmlResult decodeContentType(EmlFilterContext& context, const uint8_t*& position, bool scanMode);
