// Whether a message ends where it should: a multipart message without its closing delimiter was cut off on the
// way, and what lies last in it is likely to be incomplete.
#pragma once

#include <string>
#include <string_view>

#include "standalone/input.h"

namespace emltool {

// The boundary (RFC 2046 section 5.1.1) that the header at the start of `beginning` names for the message
// itself; empty when it is no multipart message, or the boundary cannot be told.
std::string boundaryOf(std::string_view beginning);

// True when the message names a boundary, a delimiter with it stands in the first 64 KiB, and no closing one in
// the last. Some programs take the parts out of a message and leave its header as it was: that is not cut off.
bool lacksClosingDelimiter(emlhost::Input& input);

}  // namespace emltool
