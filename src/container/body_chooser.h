// Which sections carry the text of the message.
#pragma once

#include "container/container_context.h"

namespace eml {

// Takes the plain, HTML and RTF bodies from the leading sections of `sections` that are no attachments.
void chooseAlternatives(EmlContainerContext& context);

// Chooses among what `section` is or holds: nested alternative and related parts are scanned.
// EML_OBJECT_FAILED when a related part holds no part.
[[nodiscard]] EmlResult chooseBody(EmlContainerContext& context, EmlSection& section);

}  // namespace eml
