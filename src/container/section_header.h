// Header lines of the message and of its parts, as far as the container reader looks at them.
#pragma once

#include "container/container_context.h"

namespace eml {

// Reads the message's own header from offset 0, up to and with its empty line. The name, when a disposition
// "attachment" gives one, is handed over in `fileName` (host memory, NULL otherwise).
void readTopHeader(EmlContainerContext& context, char*& fileName);

// Reads the header of a part from its start. At the empty line the body's range is set, and the part becomes
// an attachment when it has a name or is an embedded message, unless it is a detached signature.
void readPartHeader(EmlContainerContext& context, EmlSection& section);

}  // namespace eml
