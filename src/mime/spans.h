// The spans of the file, written in order while it is read.
#pragma once

#include "mime/mime_context.h"

namespace eml {

// From `offset` on the bytes are `kind` of `part`, until the next call. A span that turns out empty is replaced.
[[nodiscard]] EmlResult beginSpan(EmlMimeContext& context, uint64_t offset, uint32_t kind, uint32_t part);

// The last span that is not empty at `offset` becomes `kind` when it is the preamble of `part`: a multipart without
// parts is one body.
void preambleIsBody(EmlMimeContext& context, uint32_t part);

// All bytes have been read: drops a last span that is empty.
void endSpans(EmlMimeContext& context);

}  // namespace eml
