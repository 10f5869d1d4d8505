// Defects of a message in words.
#pragma once

#include <cstdint>
#include <string>

namespace emltool {

// A sentence without its full stop, for a code of EML_MIME_DEFECT_...; NULL for a defect that loses nothing and guesses
// nothing: a line that is too long, say.
const char* defectWords(uint32_t code);

}  // namespace emltool
