// The list of defects: each code once for each part, at its first place, with a count.
#pragma once

#include "mime/mime_context.h"

namespace eml {

// Notes that `code` occurred `count` times in `part`, first at `offset` of the file. A list that is full, or cannot
// grow, counts what is left out.
void noteDefect(EmlMimeContext& context, uint32_t code, uint32_t part, uint64_t offset, uint64_t count = 1);

// When the list has left out defects, its last entry says so.
void noteFullList(EmlMimeContext& context);

// The name of a code; NULL for a number that is none.
[[nodiscard]] const char* defectName(uint32_t code);

}  // namespace eml
