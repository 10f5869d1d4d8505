// Buffer by buffer: the message as a stream of text records.
#pragma once

#include "filter/filter_context.h"

namespace eml {

// What one fill call was given.
struct FillTarget {
    uint8_t* buffer;
    uint32_t* size;
    uint32_t* progress;
    uint32_t capacity;
};

[[nodiscard]] EmlResult fillBuffer(EmlFilterContext* context, const FillTarget& target);
[[nodiscard]] EmlResult fillBufferEx(EmlFilterContext* context, uint32_t subFile, const FillTarget& target,
                                     uint32_t fillFlags);

}  // namespace eml
