// The tables of the open scan: the parts of the message, and its attachments.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// Makes room for one more part. EML_NO_MEMORY when the table could not grow; it is lost then.
[[nodiscard]] EmlResult makePartRoom(EmlFilterContext& context);

// The attachment at `index`, or NULL when there is none.
[[nodiscard]] EmlAttachment* attachmentAt(EmlFilterContext& context, uint32_t index);

// The name of an attachment.
[[nodiscard]] inline const char* attachmentName(const EmlFilterContext& context,
                                                const EmlAttachment& attachment) {
    return reinterpret_cast<const char*>(context.parts.names.data) + attachment.name;
}

// Stores a name for `attachment`, with a zero byte. EML_NO_MEMORY when there is no room for it.
[[nodiscard]] EmlResult keepName(EmlFilterContext& context, EmlAttachment& attachment, const char* name,
                                 uint32_t length);

// The size of an attachment, up to the end of its part; also stored in its record. 0 when its part was not
// recorded.
int32_t measureAttachment(const EmlFilterContext& context, EmlAttachment& attachment);

}  // namespace eml

// Makes room for one more attachment. EML_NO_MEMORY when the table could not grow; it is lost then.
[[nodiscard]] EmlResult checkAttachments(EmlFilterContext& context);
