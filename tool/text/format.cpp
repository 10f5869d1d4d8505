#define FMT_HEADER_ONLY
#include <fmt/format.h>

#include "tool/text/format.h"

namespace emltool {

std::string formatArguments(fmt::string_view pattern, fmt::format_args values) {
    return fmt::vformat(pattern, values);
}

}  // namespace emltool
