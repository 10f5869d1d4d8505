#include "tool/text/size_text.h"

#include <charconv>

namespace emltool {

namespace {

template <typename Number>
std::optional<Number> parseWhole(std::string_view text) {
    Number value{};
    auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    bool whole = failure == std::errc{} && rest == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<uint64_t> parseSize(std::string_view text) {
    uint64_t value = 0;
    auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc{}) return std::nullopt;
    std::string_view unit = text.substr(static_cast<size_t>(rest - text.data()));
    if (unit.empty()) return value;
    constexpr std::string_view kUnits = "KMGT";
    size_t place = unit.size() == 1 ? kUnits.find(unit[0]) : std::string_view::npos;
    if (place == std::string_view::npos) return std::nullopt;
    size_t shift = 10 * (place + 1);
    if (value > UINT64_MAX >> shift) return std::nullopt;
    return value << shift;
}

std::optional<uint32_t> parseNumber(std::string_view text) { return parseWhole<uint32_t>(text); }

std::optional<double> parseDecimal(std::string_view text) { return parseWhole<double>(text); }

}  // namespace emltool
