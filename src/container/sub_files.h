// Sub-files by number.
#pragma once

#include "container/container_context.h"

namespace eml {

// The k-th attachment section, counted from 1; NULL when there is none. `attachmentCount` is not looked at:
// what an open that failed has found, and the file of an encrypted message, can be extracted though they are
// not listed.
[[nodiscard]] EmlSection* findAttachment(const EmlContainerContext& context, int64_t k);

}  // namespace eml
