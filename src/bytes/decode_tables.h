// The two decode tables, indexed by unsigned bytes.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace eml {

// The value of a byte that stands for nothing in a table.
inline constexpr uint8_t kInvalidDigit = 0x7F;

using DecodeTable = std::array<uint8_t, 256>;

constexpr DecodeTable makeDecodeTable(std::string_view alphabet) {
    DecodeTable table{};
    table.fill(kInvalidDigit);
    for (size_t value = 0; value < alphabet.size(); ++value) {
        table[static_cast<uint8_t>(alphabet[value])] = static_cast<uint8_t>(value);
    }
    return table;
}

constexpr DecodeTable makeHexTable() {
    DecodeTable table = makeDecodeTable("0123456789ABCDEF");
    for (uint8_t value = 10; value < 16; ++value) table[static_cast<size_t>('a' + value - 10)] = value;
    return table;
}

// RFC 2045, table 1. "=" is no digit.
inline constexpr DecodeTable kBase64Table =
    makeDecodeTable("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");

inline constexpr DecodeTable kHexTable = makeHexTable();

}  // namespace eml
