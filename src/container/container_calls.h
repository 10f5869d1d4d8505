// The container reader's entry points, as the exported names forward to them (eml.h describes each).
#pragma once

#include "container/container_context.h"

namespace eml {

[[nodiscard]] EmlContainerContext* openContainer(EmlIOobj* input, EmlHostServices* services, uint32_t flags,
                                                 EmlResult& status);
void closeContainer(EmlContainerContext* context);

[[nodiscard]] EmlResult containerInfo(const EmlContainerContext* context, EmlContainerInfo* info,
                                      const EmlHostRecord* hostRecord);
[[nodiscard]] EmlResult describeSubFile(EmlContainerContext* context, int32_t number, EmlSubFileInfo* info,
                                        const EmlHostRecord* hostRecord);
[[nodiscard]] EmlResult subFileMetadata(EmlContainerContext* context, int32_t index, int32_t requestCount,
                                        EmlMetaDataRequest** requests, EmlMetaData* metaData,
                                        const EmlHostRecord* hostRecord);
[[nodiscard]] EmlResult extractSubFile(EmlContainerContext* context, int32_t number, EmlIOobj* output,
                                       EmlExtractInfo* extractInfo, uint32_t options);

[[nodiscard]] int32_t getLine(EmlContainerContext& context);
void debugSections(const EmlContainerContext& context);

}  // namespace eml
