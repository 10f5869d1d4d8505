// The top-level header: written as records, or searched for the fields that a metadata call asks for.
#pragma once

#include "filter/filter_context.h"

// Reads the header from the start of the message. In both modes the content type, the first charset and the
// transfer encoding are learnt. EML_OBJECT_FAILED when the input cannot be rewound or gives no header.
[[nodiscard]] EmlResult processEMLheader(EmlFilterContext& context, bool metadataMode);
