// Byte classes and ASCII case folding. Nothing here depends on the locale or on the sign of char.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eml {

inline constexpr uint8_t kCr = 13;
inline constexpr uint8_t kLf = 10;

constexpr bool isBlank(uint8_t byte) { return byte == ' ' || byte == '\t'; }

constexpr bool isLineEnd(uint8_t byte) { return byte == kCr || byte == kLf; }

// "A" to "Z" become "a" to "z"; every other byte stays.
constexpr uint8_t toLower(uint8_t byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<uint8_t>(byte + ('a' - 'A')) : byte;
}

constexpr bool equalNoCase(const uint8_t* left, const char* right, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (toLower(left[i]) != toLower(static_cast<uint8_t>(right[i]))) return false;
    }
    return true;
}

}  // namespace eml
