// Opening a message: one function per step, in the order in which they run.
#pragma once

#include "container/container_context.h"

namespace eml {

// Reads the header, scans the parts, chooses the bodies, numbers the attachments, and takes
// metadata, name and date from the header.
[[nodiscard]] EmlResult readMessage(EmlContainerContext& context);

}  // namespace eml
