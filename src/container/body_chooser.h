// Which sections carry the text of the message.
#pragma once

#include "container/container_context.h"

namespace eml {

// Takes the plain, HTML and RTF bodies from the leading sections of `sections` that are no attachments.
void chooseAlternatives(EmlContainerContext& context);

// Chooses bodies from `section` or, after scanning it, from the parts of a nested alternative or related
// part. EML_OBJECT_FAILED when a related part holds no part.
[[nodiscard]] EmlResult chooseBody(EmlContainerContext& context, EmlSection& section);

}  // namespace eml
