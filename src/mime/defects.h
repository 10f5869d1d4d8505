// The list of defects: each code once for each part, at its first place, with a count.
#pragma once

#include "mime/mime_context.h"

namespace eml {

// Notes that `code` occurred `count` times in `part`, first at `offset` of the file. The last entry of a list that is
// full counts what has no place in it. When the list cannot grow it is lost, and context.defectsLost says so.
void noteDefect(EmlMimeContext& context, uint32_t code, uint32_t part, uint64_t offset, uint64_t count = 1);

// Makes room in the list for `more` defects, so that noting them cannot fail. EML_NO_MEMORY leaves the list as it is.
[[nodiscard]] EmlResult reserveDefects(EmlMimeContext& context, uint32_t more);

// The name of a code; NULL for a number that is none.
[[nodiscard]] const char* defectName(uint32_t code);

}  // namespace eml
