// Defects (EML_MIME_DEFECT_...) in words.
#pragma once

#include <cstdint>
#include <string_view>

namespace emltool {

// What is there, for who looks at the structure: "the closing delimiter is missing". Empty for a code that is none.
std::string_view defectText(uint32_t code);

// What it means for who reads the message: what was guessed or left out. Empty for a defect that can be read in one way
// only and loses nothing: a line that is too long, say.
std::string_view defectMeaning(uint32_t code);

}  // namespace emltool
