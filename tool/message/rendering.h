// The forms in which the library renders a message.
#pragma once

#include <cstdint>

#include "standalone/message.h"

namespace emltool {

enum class Form { kHtml, kRtf, kText };

// The form that the library gives with these EML_EXTRACT_... option bits. Its header block tells.
Form formOf(emlhost::OpenMessage& message, uint32_t options);

}  // namespace emltool
