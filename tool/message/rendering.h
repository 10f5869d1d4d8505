// The forms in which the library renders a message, and a text form where it has none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "standalone/message.h"
#include "tool/message/message_file.h"
#include "tool/terminal/problem.h"

namespace emltool {

enum class Form { kHtml, kRtf, kText, kMarkdown };

// The form that the library returns with these EML_EXTRACT_... option bits, as its header block tells.
Form formOf(emlhost::OpenMessage& message, uint32_t options);

// The text form of a message for which the library has none: the rows of the header block as the library writes them, an
// empty line, and the body, as the MIME reader has both, so that every charset is known. UTF-8, lines end with CRLF.
// Throws Problem.
std::string madeText(MessageFile& file, bool bodyOnly, std::vector<Warning>& warnings);

// Whether what the library writes with these options and this charset is UTF-8. It is not where it knows no charset for
// the text: it leaves the bytes as they are.
bool isUtf8Form(emlhost::OpenMessage& message, uint32_t options, uint32_t charset);

}  // namespace emltool
