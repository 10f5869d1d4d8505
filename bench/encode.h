// Encodes into the transfer encodings of RFC 2045, which the library decodes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace emlbench {

// Lines of at most 76 characters with CR LF.
std::string base64Lines(std::span<const uint8_t> bytes);

// One paragraph: soft line breaks where a line would be longer than 76 characters, and CR LF at the end.
std::string quotedPrintableLines(std::string_view text);

}  // namespace emlbench
