// The tables of the open scan: the parts of the message, and its attachments.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// Makes room for one more part. EML_NO_MEMORY when the table could not grow; it is lost then.
[[nodiscard]] EmlResult makePartRoom(EmlFilterContext& context);

// The attachment at `index`, or NULL when there is none.
[[nodiscard]] EmlAttachment* attachmentAt(EmlFilterContext& context, uint32_t index);

// The size of an attachment, up to the end of its part; also stored in its record. 0 when its part was not
// recorded.
int32_t measureAttachment(const EmlFilterContext& context, EmlAttachment& attachment);

}  // namespace eml

// Makes room for one more attachment. EML_NO_MEMORY when the table could not grow; it is lost then.
[[nodiscard]] EmlResult checkAttachments(EmlFilterContext& context);
