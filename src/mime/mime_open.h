// Opening and closing a message.
#pragma once

#include "mime/mime_context.h"

namespace eml {

// As emlMimeOpen and emlMimeClose say.
[[nodiscard]] EmlMimeContext* openMime(EmlIOobj* input, EmlAllocator* allocator,
                                       const EmlMimeOptions* options, EmlResult& result);
void closeMime(EmlMimeContext* context);

}  // namespace eml
