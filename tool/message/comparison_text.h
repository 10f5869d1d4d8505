// A comparison of the readings for people.
#pragma once

#include "tool/message/comparison.h"
#include "tool/terminal/console.h"

namespace emltool {

// One line for each content, a column for each reading, and what each leaves out; then the result in words.
void printComparison(Console& console, const Comparison& comparison);

}  // namespace emltool
