// The current multipart boundary of the filter.
#pragma once

#include "bytes/cursor.h"
#include "filter/filter_context.h"

namespace eml {

// Reads the parameters behind a multipart type and stores the boundary, if they have one. A boundary that is
// stored already stays unless `replaces`. EML_NO_MEMORY when it could not be stored.
[[nodiscard]] EmlResult takeBoundary(EmlFilterContext& context, Cursor parameters, bool replaces);

// The next boundary in [begin, end), up to the first zero byte; NULL without one.
[[nodiscard]] const uint8_t* findBoundary(const EmlFilterContext& context, const uint8_t* begin,
                                          const uint8_t* end);

}  // namespace eml
