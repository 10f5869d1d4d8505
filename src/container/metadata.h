// The metadata of the message: the default list, kept in the context, and the lists that hosts ask for.
#pragma once

#include "container/container_context.h"

// Builds the default list with the services' allocator. A failure can leave it half built.
[[nodiscard]] EmlResult eml2GetDefaultMetaData(EmlContainerContext& context, EmlAllocator& allocator,
                                               EmlMetaData& list);

// Frees a list that was built with the services' allocator.
void eml2FreeMetaData(EmlContainerContext& context, EmlMetaData& list);

namespace eml {

// The entries of the default list, in order.
enum MetadataIndex : int32_t { kFrom, kDate, kTo, kCc, kBcc, kSubject, kPriority, kMetadataCount };

// The name of an entry of the default list.
[[nodiscard]] const char* metadataName(int32_t index);

}  // namespace eml
