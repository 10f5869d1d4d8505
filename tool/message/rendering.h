// The forms in which the library renders a message, and the text that it has where the library finds none.
#pragma once

#include <cstdint>
#include <string>

#include "standalone/message.h"

namespace emltool {

enum class Form { kHtml, kRtf, kText };

// The form that the library returns with these EML_EXTRACT_... option bits, as its header block tells.
Form formOf(emlhost::OpenMessage& message, uint32_t options);

// The text form of a message that has a body in `form` only: the rows of the header block as the library writes them, an
// empty line, and the text of the body. UTF-8, lines end with CRLF. Empty if the body cannot be read.
std::string textOfRichForm(emlhost::OpenMessage& message, Form form, bool bodyOnly);

// Whether what the library writes with these options and this charset is UTF-8. It is not where it knows no charset for
// the text: it leaves the bytes as they are.
bool isUtf8Form(emlhost::OpenMessage& message, uint32_t options, uint32_t charset);

}  // namespace emltool
