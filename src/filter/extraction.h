// The extraction of an attachment.
#pragma once

#include "filter/filter_context.h"

// Writes one attachment, decoded, into `output`, which is opened and closed. EML_OBJECT_FAILED when there is
// no such attachment, or the output cannot be opened, rewound, written or closed.
[[nodiscard]] EmlResult emlExtractAttachment(EmlFilterContext* context, uint32_t attachmentIndex,
                                             EmlIOobj* output);
