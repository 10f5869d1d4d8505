// The forms in which the library renders a message.
#pragma once

#include <cstdint>

#include "standalone/message.h"

namespace emltool {

enum class Form { kHtml, kRtf, kText };

// The form that the library returns with these EML_EXTRACT_... option bits, as its header block tells.
Form formOf(emlhost::OpenMessage& message, uint32_t options);

}  // namespace emltool
