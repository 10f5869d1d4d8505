// Dates (RFC 5322 sections 3.3 and 4.3) and the forms that programs write instead. Nothing depends on the zone or
// locale of the machine.
#pragma once

#include <emlreader/eml_mime.h>

#include <string_view>

namespace eml {

// flags is 0 when no date can be read.
[[nodiscard]] EmlMimeDate readDate(std::string_view value);

}  // namespace eml
