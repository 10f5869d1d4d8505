// Whether a message ends where it should: a multipart message without its closing delimiter was cut off on
// the way, and its last part is likely to be incomplete.
#pragma once

#include <string>
#include <string_view>

#include "standalone/input.h"

namespace emltool {

// The boundary (RFC 2046 section 5.1.1) that the header at the start of `beginning` names for the message
// itself; empty if it is not a multipart message, or has no readable boundary.
std::string boundaryOf(std::string_view beginning);

// True if the message names a boundary, its first 64 KiB have a delimiter, and its last 64 KiB have no
// closing one. Some programs remove the parts of a message and leave its header unchanged: such a message is
// not cut off.
bool lacksClosingDelimiter(emlhost::Input& input);

}  // namespace emltool
