// Answers for programs, one line of JSON each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tool/message/tree.h"

namespace emltool {

// The line for the message `source`, with its line end. `index` says which message of that file it is, if
// there are several. `tree` is NULL if it could not be read, as `problem` then explains. Fields are only ever
// added.
std::string jsonLine(std::string_view source, const MessageTree* tree, const Problem* problem,
                     std::optional<uint64_t> index = std::nullopt);

// Replaces characters that JSON allows but that could control a terminal with escapes. They occur in strings
// only.
std::string withVisibleControls(std::string_view json);

}  // namespace emltool
