// The usual file extension of a media type.
#pragma once

#include <string_view>

namespace eml {

// Without the dot; "bin" when nothing better is known, "txt" for text, "eml" for messages.
[[nodiscard]] std::string_view extensionOf(std::string_view type, std::string_view subtype);

}  // namespace eml
