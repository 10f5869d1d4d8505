// The message filter's entry points, as the exported names forward to them (eml.h describes each; fills are
// in fill.h).
#pragma once

#include "filter/filter_context.h"

namespace eml {

[[nodiscard]] EmlFilterContext* openFilterFile(void* fileSpec, EmlHostServices* services, uint32_t flags);
[[nodiscard]] EmlFilterContext* openFilter(EmlIOobj* io, EmlHostServices* services, uint32_t flags,
                                           EmlResult* result);
void closeFilter(EmlFilterContext* context);

[[nodiscard]] int32_t attachmentCount(const EmlFilterContext* context);
[[nodiscard]] uint32_t settledCharset(EmlFilterContext& context, uint32_t& extra);
[[nodiscard]] EmlResult filterInfo(EmlFilterContext* context, EmlContainerInfo* info,
                                   const EmlHostRecord* hostRecord);

[[nodiscard]] EmlResult mainNameDate(EmlFilterContext* context, char* name, void* date);

[[nodiscard]] EmlResult attachmentInfo(EmlFilterContext* context, uint32_t index, EmlAttachmentInfo* info);
[[nodiscard]] EmlResult describeFilterSubFile(EmlFilterContext* context, int32_t index, EmlSubFileInfo* info,
                                              const EmlHostRecord* hostRecord);
[[nodiscard]] EmlResult filterMetadata(EmlFilterContext* context, int32_t index, int32_t requestCount,
                                       EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                       const EmlHostRecord* hostRecord);
[[nodiscard]] EmlResult extractToTarget(EmlFilterContext* context, uint32_t index, void* target);
[[nodiscard]] EmlResult extractFilterSubFile(EmlFilterContext* context, int32_t index, EmlIOobj* output,
                                             uint32_t options);

}  // namespace eml
