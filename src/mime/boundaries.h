// Delimiter lines (RFC 2046 section 5.1.1) of the multiparts that are open.
#pragma once

#include <string_view>

#include "mime/mime_context.h"

namespace eml {

// What a line is to one boundary.
enum class DelimiterKind : uint8_t { kNone, kDelimiter, kClosing };

struct DelimiterMatch {
    DelimiterKind kind;
    bool hasText;  // something other than blanks follows in the line
};

// Compares a line with "--", `boundary` and, for the closing one, "--", before which blanks may stand. After that
// blanks may follow, and text after a blank, which is a defect. A line on which the boundary goes on is another
// boundary's. An empty boundary has the lines "--" and "----" alone: "-- " stands before signatures.
[[nodiscard]] DelimiterMatch matchDelimiter(std::string_view line, std::string_view boundary);

// The boundary that a line suggests when a multipart names none: what follows "--" if that has no blanks, else empty.
[[nodiscard]] std::string_view guessedBoundary(std::string_view line);

// A boundary without the blanks at its end, since lines lose theirs on the way.
[[nodiscard]] std::string_view comparedBoundary(std::string_view boundary);

}  // namespace eml
