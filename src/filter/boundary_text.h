// The current multipart boundary of the filter.
#pragma once

#include "bytes/cursor.h"
#include "filter/filter_context.h"

namespace eml {

// Reads the parameters after a multipart type and stores the boundary, if they have one. A boundary that is
// stored already stays unless `replaces`. EML_NO_MEMORY when it could not be stored.
[[nodiscard]] EmlResult takeBoundary(EmlFilterContext& context, Cursor parameters, bool replaces);

// The boundary set aside while nested levels bring their own.
struct SavedBoundary {
    char* text;
    int32_t length;
};

// Sets the boundary aside; a copy of it takes its place. EML_NO_MEMORY when there is no room for that: the
// boundary stays.
[[nodiscard]] EmlResult saveBoundary(EmlFilterContext& context, SavedBoundary& saved);

// Puts the boundary back.
void restoreBoundary(EmlFilterContext& context, const SavedBoundary& saved);

// The next boundary in [begin, end), up to the first zero byte; NULL without one.
[[nodiscard]] const uint8_t* findBoundary(const EmlFilterContext& context, const uint8_t* begin,
                                          const uint8_t* end);

}  // namespace eml
