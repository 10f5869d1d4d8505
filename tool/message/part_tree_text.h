// The part tree for people.
#pragma once

#include <span>
#include <vector>

#include "tool/message/part_tree.h"
#include "tool/terminal/console.h"

namespace emltool {

// One line for each part, indented, with its defects below it.
void printParts(Console& console, std::span<const PartEntry> parts);

// One line for each span: where it is, what it is, and of which part.
void printSpans(Console& console, std::span<const EmlMimeSpanInfo> spans, std::span<const PartEntry> parts);

}  // namespace emltool
