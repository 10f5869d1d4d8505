// Bytes as the tests write them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace reference {

using Bytes = std::vector<uint8_t>;

inline Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

inline std::string textOf(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

// For failure messages: what does not print is shown as \xNN.
std::string shown(const Bytes& bytes);

inline std::string shown(std::string_view text) { return shown(bytesOf(text)); }

}  // namespace reference
