// The open scan: the message's parts and attachments, before anything is written.
#pragma once

#include "filter/filter_context.h"

// Reads the whole message once. EML_EMPTY_MESSAGE when it has no byte, or several attachments and no part.
[[nodiscard]] EmlResult parseEML(EmlFilterContext& context);
