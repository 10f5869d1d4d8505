#include "tool/view/calendar_text.h"

#include "tool/text/utf8.h"

namespace emltool {

std::string calendarText(const emlreader::mime::Part& part) {
    std::string bytes = part.charset().empty() ? part.bytes() : "";
    return bytes.empty() || !isUtf8(bytes) ? withoutInvalidBytes(part.text()) : bytes;
}

}  // namespace emltool
