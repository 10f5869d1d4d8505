// Dates for people and programs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltool {

// "2025-03-04T09:15:22+01:00" (RFC 3339). The library reads the time that a message shows as local time, so
// `seconds` in local time is that time. The zone is the one at the end of `sent`, the value of the "Date"
// field, or "-00:00" if there is none. Empty unless the year has four digits.
std::string dateText(int64_t seconds, std::string_view sent);

// The same of seconds since 1970, in UTC: "2025-03-04T08:15:22+00:00".
std::string utcText(int64_t seconds);

}  // namespace emltool
