// ASCII letters, whatever the locale is.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace emltool {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

// Whether the two differ in the case of their letters at most.
inline bool equalNoCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char a, char b) { return lower(a) == lower(b); });
}

// Whether `text` begins with `word`, which is in lower case, in any case.
inline bool startsWithNoCase(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(word.begin(), word.end(), text.begin(),
                      [](char expected, char c) { return expected == lower(c); });
}

}  // namespace emltool
