// The decoders that need a context around them: dates, names, field values and body text.
#pragma once

#include <string_view>

namespace fuzz {

void holdDates(std::string_view text);
void holdNames(std::string_view text);
void holdFieldValues(std::string_view text);
void holdBodyText(std::string_view text);

}  // namespace fuzz
