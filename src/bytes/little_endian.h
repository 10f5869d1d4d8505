// Integers stored low byte first, at any address.
#pragma once

#include <cstdint>

namespace eml {

[[nodiscard]] constexpr uint32_t readLittleEndian32(const uint8_t* bytes) {
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

constexpr void writeLittleEndian32(uint8_t* bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace eml
