// Sizes and numbers as people write them in options.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace emltool {

// "4096", "64K", "512M", "2G": bytes, or powers of 1024 of them. Nothing for any other text.
std::optional<uint64_t> parseSize(std::string_view text);

// A whole number in decimal digits and nothing else.
std::optional<uint32_t> parseNumber(std::string_view text);

// A number that may have a fraction, "0.5".
std::optional<double> parseDecimal(std::string_view text);

}  // namespace emltool
