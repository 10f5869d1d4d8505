// How lines look that tell messages from each other and from other files.
#pragma once

#include <string_view>

namespace emltool {

// Whether a file that begins with these bytes is an mbox.
bool beginsMbox(std::string_view beginning);

// "From someone@example.org Thu Jan  1 00:00:00 1970", or "From - " and perhaps a date.
bool isPostmark(std::string_view line);

// "Name:" at the beginning of a line.
bool isHeaderField(std::string_view line);

// Nothing but its end.
bool isEmptyLine(std::string_view line);

// The line at the beginning of `text`, with its end if that is there.
std::string_view firstLine(std::string_view text);

}  // namespace emltool
