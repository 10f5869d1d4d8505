// Pieces of texts.
#pragma once

#include <algorithm>
#include <string_view>

namespace eml {

// At most `length` characters of `text` from `start` on; empty when it starts at the end or after it. Instead of
// string_view::substr, which calls the C++ run time for a start after the end.
[[nodiscard]] constexpr std::string_view subtext(std::string_view text, size_t start,
                                                 size_t length = std::string_view::npos) {
    text.remove_prefix(std::min(start, text.size()));
    return {text.data(), std::min(length, text.size())};
}

}  // namespace eml
