// Text in a charset that a message names, or in none that it names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

// `bytes` in the charset that mail calls `label`, as UTF-8; nothing for an unknown label. Bytes that belong to no
// character become U+FFFD.
std::optional<std::string> fromLabelledCharset(std::string_view label, std::string_view bytes);

// `bytes` without a label: as they are if they are UTF-8, otherwise converted from `charset` (EML_CHARSET_...).
std::string fromUnlabelledCharset(std::string_view bytes, uint32_t charset);

}  // namespace emltool
