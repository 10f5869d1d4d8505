// The scan that cuts a range of the message into sections at its boundary lines.
#pragma once

#include "container/container_context.h"

namespace eml {

struct BoundaryText {
    const char* text;  // "--" and the boundary value
    uint32_t length;
};

// Appends one section for every delimiter found in [rangeStart, rangeEnd) to `sections`, and reads the header
// of every section of that list. EML_NO_MEMORY when a section could not be appended; those made so far stay.
[[nodiscard]] EmlResult scanSections(EmlContainerContext& context, BoundaryText boundary, int64_t rangeStart,
                                     int64_t rangeEnd);

}  // namespace eml
