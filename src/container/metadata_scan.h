// The scan of the message's header that fills a metadata list.
#pragma once

#include "container/container_context.h"

// Stores the values of the fields that `list` names. Names are matched up to the colon, ignoring case. With
// `defaultList` non-zero, "X-MSMail-Priority:" and "Importance:" also fill the entry "Priority" until a field
// has filled it. Values come from `allocator`. EML_NO_MEMORY when the work buffer or a value could not be
// allocated.
[[nodiscard]] EmlResult eml2GetMetaData(EmlContainerContext& context, EmlAllocator& allocator,
                                        EmlMetaData& list, uint32_t defaultList);
