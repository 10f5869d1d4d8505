/*
 * The forms in which the library renders a message.
 */
#ifndef EMLREADER_TOOL_RENDERING_H
#define EMLREADER_TOOL_RENDERING_H

#include <cstdint>

#include "standalone/message.h"

namespace emltool {

enum class Form { Html, Rtf, Text };

/* The form that the library gives with these EML_EXTRACT_... option bits. Its header block tells. */
Form formOf(emlhost::OpenMessage& message, uint32_t options);

}  // namespace emltool

#endif
