// The scan of the message's header that fills a metadata list.
#pragma once

#include "container/container_context.h"

// Stores the values of the fields that `list` names. A name is matched with its colon, whatever the case.
// `defaultList` non-zero lets "X-MSMail-Priority:" and "Importance:" feed the entry "Priority" as long as
// nothing else has. Values come from `allocator`. EML_NO_MEMORY when the work buffer or a value could not be
// had.
[[nodiscard]] EmlResult eml2GetMetaData(EmlContainerContext& context, EmlAllocator& allocator,
                                        EmlMetaData& list, uint32_t defaultList);
