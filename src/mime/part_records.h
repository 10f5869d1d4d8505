// What the host is told about parts, spans and defects.
#pragma once

#include "mime/mime_context.h"

namespace eml {

[[nodiscard]] EmlResult describePart(EmlMimeContext& context, uint32_t number, EmlMimePart* part,
                                     uint32_t recordSize);
[[nodiscard]] EmlResult partName(EmlMimeContext& context, uint32_t number, EmlMimeText& name);
[[nodiscard]] EmlResult findContentId(const EmlMimeContext& context, uint32_t from, const char* contentId,
                                      uint32_t& number);
[[nodiscard]] EmlResult describeSpan(const EmlMimeContext& context, uint32_t index, EmlMimeSpanInfo& info);
[[nodiscard]] EmlResult describeDefect(const EmlMimeContext& context, uint32_t index, EmlMimeDefect& defect);

}  // namespace eml
