// Where a sub-file is in a message and the messages inside it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// Where a sub-file is: {3, 1} is sub-file 1 of the message that is sub-file 3; written "3.1".
using SubFilePath = std::vector<int32_t>;

std::string dotted(const SubFilePath& path);

// The path in `text`; nothing if it is not one.
std::optional<SubFilePath> parseSubFilePath(std::string_view text);

}  // namespace emltool
