// Where the readable text of the message lies.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// Offsets in the message, `end` one past the last byte.
struct BodySpan {
    int32_t start;
    int32_t end;
};

}  // namespace eml

// Finds the text within the part that holds it, going down through nested multipart levels, and learns its
// encoding. EML_OBJECT_FAILED when the input cannot be positioned, EML_NO_MEMORY when a boundary could not be
// stored.
[[nodiscard]] EmlResult getBody(EmlFilterContext& context, eml::BodySpan& span);
