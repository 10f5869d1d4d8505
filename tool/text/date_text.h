// Dates for people and programs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltool {

// "2025-03-04T09:15:22+01:00" (RFC 3339). The library takes the clock that a message shows for local time, so
// `seconds` in local time is that clock; the zone is the one at the end of `sent`, the value of the "Date"
// field. "-00:00" where that names none. Empty for a year that has not four digits.
std::string dateText(int64_t seconds, std::string_view sent);

}  // namespace emltool
