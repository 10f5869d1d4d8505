// Bytes as text in base64 (RFC 4648).
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// `bytes` in one line, padded.
std::string base64(std::string_view bytes);

// The bytes of such a text, up to what is none of its characters.
std::string bytesOfBase64(std::string_view text);

}  // namespace emltool
