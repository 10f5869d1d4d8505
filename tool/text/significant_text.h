// Texts that are the same for a reader, however their lines are broken.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace emltool {

// `text` without white space, and without the marks (>) at the beginning of quoted lines: two programs that show the
// same text differ in these.
std::string significantText(std::string_view text);

// About `length` characters of `text` from the place on where its significant text has its byte `at`, in one line.
std::string excerptAt(std::string_view text, size_t at, size_t length);

// The first place where two significant texts differ; the length of the shorter if one begins with the other.
size_t firstDifference(std::string_view one, std::string_view other);

}  // namespace emltool
