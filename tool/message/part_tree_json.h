// The part tree for programs.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "tool/message/part_tree.h"
#include "tool/terminal/problem.h"

namespace emltool {

// The line for the message `source`, with its line end. `spans` are left out if there are none.
std::string treeLine(std::string_view source, std::span<const PartEntry> parts,
                     std::span<const EmlMimeSpanInfo> spans);

// The parts alone, as an array.
std::string partsJson(std::span<const PartEntry> parts);

// The line for a message that could not be read.
std::string treeLine(std::string_view source, const Problem& problem);

}  // namespace emltool
