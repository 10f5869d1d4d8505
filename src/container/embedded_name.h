// Counts the attachments, and names embedded messages that have no name.
#pragma once

#include "bytes/cursor.h"
#include "container/container_context.h"

namespace eml {

inline constexpr size_t kEmbeddedNameSize = 100;

// The name made from the value of a "Subject:" line (the text after the colon), or "zt%d" with `number` when
// none of it can be used; ".eml" appended, zero-terminated.
void makeEmbeddedName(Cursor subject, int32_t number, char (&name)[kEmbeddedNameSize]);

// Counts the attachments of `sections`, names the embedded messages, and builds the table of attachments.
[[nodiscard]] EmlResult numberAttachments(EmlContainerContext& context);

}  // namespace eml
