// The characters that a name made from a subject leaves out.
#pragma once

#include <cstdint>
#include <string_view>

namespace eml {

// Characters that some file system forbids in a name.
[[nodiscard]] constexpr bool isForbiddenInName(uint8_t byte) {
    return std::string_view("?:\\/*<>|\"").find(static_cast<char>(byte)) != std::string_view::npos;
}

}  // namespace eml
