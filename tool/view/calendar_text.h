// The text of a calendar.
#pragma once

#include <emlreader/mime.hpp>
#include <string>

namespace emltool {

// UTF-8, which is its charset unless the message says another one (RFC 5545 section 3.1.4).
std::string calendarText(const emlreader::mime::Part& part);

}  // namespace emltool
