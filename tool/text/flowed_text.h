// Plain text of format=flowed (RFC 3676): lines that were broken only to be short are joined again.
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// Takes text whose lines end with LF. A line that ends with a blank goes on in the next one of the same quote depth;
// with `delSp` that blank is not part of the text. A blank before a line, after its quote marks, is stuffing. A line
// "-- " joins nothing. Each line of a quote begins with ">" for each level, and a blank. The MIME reader does the same
// to text whose charset it knows.
std::string joinedFlowed(std::string_view text, bool delSp);

}  // namespace emltool
