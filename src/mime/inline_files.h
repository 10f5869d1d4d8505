// Files inside text: "begin 644 name" ... "end" (uuencode) and "=ybegin" ... "=yend" (yEnc). Pure functions on
// lines, given without their line ends.
#pragma once

#include <cstdint>
#include <string_view>

namespace eml {

// "begin", three or four octal digits, a name: the name, else empty. ("begin-base64" is not known.)
[[nodiscard]] std::string_view uuencodeName(std::string_view line);

// Whether a line can be data of a uuencoded file: its first character counts bytes, and the line is about as long
// as that takes.
[[nodiscard]] bool isUuencodeData(std::string_view line);

[[nodiscard]] bool isUuencodeEnd(std::string_view line);

// The name in "=ybegin line=128 size=123456 name=..."; empty when the line is none.
[[nodiscard]] std::string_view yencName(std::string_view line);

[[nodiscard]] bool isYencEnd(std::string_view line);

}  // namespace eml
