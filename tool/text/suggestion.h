// "did you mean ...?"
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace emltool {

// Letters to insert, delete, replace or swap with their neighbour until `a` is `b`; upper and lower case
// count as the same.
size_t typingErrors(std::string_view a, std::string_view b);

// The candidate that `word` most likely means; empty if none is close.
std::string closest(std::string_view word, std::span<const std::string> candidates);

// The same with at most `maxErrors` typing errors.
std::string closest(std::string_view word, std::span<const std::string> candidates, size_t maxErrors);

// The path of an existing file that `path`, which does not exist, most likely means; empty if there is none.
std::string closestFile(const std::string& path);

}  // namespace emltool
