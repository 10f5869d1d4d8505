// What the filter's open found, and where it finds the readable text, against the model in tests/reference.
#pragma once

#include <emlreader/eml.h>

#include <string_view>

namespace fuzz {

// `context` is fresh from its open, which gave `opened`. Looking for the text changes it.
void holdFilterScan(std::string_view message, EmlFilterContext* context, EmlResult opened);

}  // namespace fuzz
