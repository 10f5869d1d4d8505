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

// The id (EML_CHARSET_...) of the charset that this label means; 0 if it is none of those that have one.
uint32_t charsetIdOf(std::string_view label);

}  // namespace emltool
