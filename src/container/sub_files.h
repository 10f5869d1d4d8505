// Sub-files by number.
#pragma once

#include "container/container_context.h"

namespace eml {

// The k-th attachment, counted from 1; NULL when there is none.
[[nodiscard]] EmlSection* findAttachment(const EmlContainerContext& context, int64_t k);

}  // namespace eml
