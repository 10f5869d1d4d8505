// The names of sub-files as people read them.
//
// The library hands over a name exactly as it stands in the message. Decoding is left to the host: encoded
// words (RFC 2047), which many mailers use in names, and plain 8-bit text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emltool {

// A name as the message has it, as UTF-8. `charset` is the message's, for plain 8-bit text.
std::string decodeName(std::string_view name, uint32_t charset);

}  // namespace emltool
