// Which parts are the text and HTML body of a message, and which its attachments (RFC 8621 section 4.1.4).
#pragma once

#include "mime/mime_context.h"

namespace eml {

// Sets EML_MIME_ROLE_... of every part, for each message apart. Without recursion; EML_NO_MEMORY.
[[nodiscard]] EmlResult assignRoles(EmlMimeContext& context);

}  // namespace eml
