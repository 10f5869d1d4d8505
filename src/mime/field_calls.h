// Header fields for the host: a part's header is read again from the input when another's was used last.
#pragma once

#include "mime/mime_context.h"

namespace eml {

[[nodiscard]] EmlResult fieldCount(EmlMimeContext& context, uint32_t part, uint32_t& count);
[[nodiscard]] EmlResult describeField(EmlMimeContext& context, uint32_t part, uint32_t index,
                                      EmlMimeField& field);
[[nodiscard]] EmlResult findField(EmlMimeContext& context, uint32_t part, const char* name, uint32_t index,
                                  uint32_t& found);
[[nodiscard]] EmlResult fieldText(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeText& text);
[[nodiscard]] EmlResult fieldAddresses(EmlMimeContext& context, uint32_t part, uint32_t index,
                                       const EmlMimeAddress*& addresses, uint32_t& count);
[[nodiscard]] EmlResult fieldDate(EmlMimeContext& context, uint32_t part, uint32_t index, EmlMimeDate& date);
[[nodiscard]] EmlResult fieldIds(EmlMimeContext& context, uint32_t part, uint32_t index,
                                 const EmlMimeText*& ids, uint32_t& count);
[[nodiscard]] EmlResult fieldParameters(EmlMimeContext& context, uint32_t part, uint32_t index,
                                        EmlMimeText& value, const EmlMimeParameter*& parameters,
                                        uint32_t& count);

}  // namespace eml
