// Texts with values in them. The library behind it takes seconds to compile, so only format.cpp does.
#pragma once

#include <fmt/core.h>

#include <string>
#include <string_view>
#include <type_traits>

namespace emltool {

// Use formatted() below.
std::string formatArguments(fmt::string_view pattern, fmt::format_args values);

// `pattern` with "{}" replaced by the values; the compiler checks that they fit.
template <typename... Values>
std::string formatted(fmt::format_string<Values...> pattern, Values&&... values) {
    return formatArguments(pattern, fmt::make_format_args(values...));
}

// The texts or numbers of a list with `separator` between them.
template <typename List>
std::string joined(const List& list, std::string_view separator) {
    std::string text;
    bool isFirst = true;
    for (const auto& each : list) {
        if (!isFirst) text += separator;
        isFirst = false;
        if constexpr (std::is_integral_v<std::remove_cvref_t<decltype(each)>>) {
            text += std::to_string(each);
        } else {
            text += each;
        }
    }
    return text;
}

}  // namespace emltool
