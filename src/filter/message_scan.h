// The open scan: the message's parts and attachments, before anything is written.
#pragma once

#include "filter/filter_context.h"

// Reads the whole message once. Non-zero on success; 0 with a code in lastError.
[[nodiscard]] uint32_t parseEML(EmlFilterContext& context);
