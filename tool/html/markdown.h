// A document as Markdown (CommonMark 0.30).
#pragma once

#include <string>
#include <string_view>

#include "tool/html/document.h"

namespace emltool {

// UTF-8, each line with its LF. No HTML is in it, whatever the text says, and nothing that a page loads by itself: a
// picture is its alternative text. Links lead to the web, to mail or to a telephone. Simple tables have pipes (GitHub's
// extension).
std::string markdownOf(const Block& document);

// `text` so that Markdown shows it as it stands; with U+FFFD for control characters.
std::string markdownText(std::string_view text);

// Plain text as a document: lines stay lines, ">" are quotes.
Block plainDocument(std::string_view text);

}  // namespace emltool
