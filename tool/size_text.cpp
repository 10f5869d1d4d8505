#include "tool/size_text.h"

#include <charconv>

namespace emltool {

std::optional<uint64_t> parseSize(std::string_view text) {
    uint64_t value = 0;
    auto [behind, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc{}) return std::nullopt;
    std::string_view unit = text.substr(static_cast<size_t>(behind - text.data()));
    if (unit.empty()) return value;
    constexpr std::string_view kUnits = "KMGT";
    size_t place = unit.size() == 1 ? kUnits.find(unit[0]) : std::string_view::npos;
    if (place == std::string_view::npos) return std::nullopt;
    size_t shift = 10 * (place + 1);
    if (value > UINT64_MAX >> shift) return std::nullopt;
    return value << shift;
}

}  // namespace emltool
