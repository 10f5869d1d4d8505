// Bytes as text in base64 (RFC 4648).
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// `bytes` in one line, padded.
std::string base64(std::string_view bytes);

}  // namespace emltool
