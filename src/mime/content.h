// The content of a part: raw, decoded or as text, streamed in constant memory.
#pragma once

#include "mime/mime_context.h"

namespace eml {

// As emlMimeExtract says. The arguments have been checked, `output` may be NULL.
[[nodiscard]] EmlResult extractContent(EmlMimeContext& context, uint32_t part, uint32_t form,
                                       EmlIOobj* output, EmlMimeContent& content);

}  // namespace eml
