// The size of an attachment, and its extraction.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// The attachment at `index`, or NULL when there is none.
[[nodiscard]] EmlAttachment* attachmentAt(EmlFilterContext& context, uint32_t index);

// The size of an attachment, up to the end of its part; also stored in its record. 0 when its part was not
// recorded.
int32_t measureAttachment(const EmlFilterContext& context, EmlAttachment& attachment);

}  // namespace eml

// Writes one attachment, decoded, into `output`, which is opened and closed. EML_OBJECT_FAILED when there is
// no such attachment, or the output cannot be opened, rewound, written or closed.
[[nodiscard]] EmlResult emlExtractAttachment(EmlFilterContext* context, uint32_t attachmentIndex,
                                             EmlIOobj* output);
