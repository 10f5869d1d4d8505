// The names of sub-files as people read them.
//
// The library hands over a name exactly as it stands in the message. Characters are the host's business:
// encoded words (RFC 2047), which many mailers put into names, and plain 8-bit text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

// `bytes` in the charset that mail calls `label`, as UTF-8; nothing for a label that is not known. Bytes that
// belong to no character become U+FFFD.
std::optional<std::string> fromLabelledCharset(std::string_view label, std::string_view bytes);

// `bytes` without a label: UTF-8 where they are, else text in `charset` (EML_CHARSET_...).
std::string fromUnlabelledCharset(std::string_view bytes, uint32_t charset);

// A name as the message has it, as UTF-8. `charset` is the message's, for plain 8-bit text.
std::string decodeName(std::string_view name, uint32_t charset);

}  // namespace emltool
