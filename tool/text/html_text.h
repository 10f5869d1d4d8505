// The text in HTML, for reading on a terminal. It is not a browser: tags are dropped, blocks become lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// Whether a text that begins with this line is HTML.
bool looksLikeHtml(std::string_view firstLine);

// The lines of text in `html`, UTF-8: white space collapsed, scripts and styles dropped, at most one empty
// line between two others.
std::vector<std::string> htmlToLines(std::string_view html);

// The same as one text, each line with its LF.
std::string linesOfHtml(std::string_view html);

}  // namespace emltool
