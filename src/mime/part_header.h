// What a part's header says about it.
#pragma once

#include "mime/mime_context.h"
#include "mime/text_builder.h"

namespace eml {

// Reads the header block in context.header into the part, and notes its defects. The boundary of a multipart is
// appended to `boundary`; `hasBoundary` says whether there is one, which may be empty.
[[nodiscard]] EmlResult readPartHeader(EmlMimeContext& context, uint32_t number, TextBuilder& boundary,
                                       bool& hasBoundary);

// Gives a part the type that it has without a Content-Type (RFC 2046 section 5.1.5 for a digest).
[[nodiscard]] EmlResult setDefaultType(EmlMimeContext& context, uint32_t number);

// Gives a part a type.
[[nodiscard]] EmlResult setType(EmlMimeContext& context, uint32_t number, std::string_view type,
                                std::string_view subtype);

}  // namespace eml
