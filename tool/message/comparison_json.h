// A comparison of the readings for programs.
#pragma once

#include <string>
#include <string_view>

#include "tool/message/comparison.h"
#include "tool/terminal/problem.h"

namespace emltool {

// The line for the message `source`, with its line end.
std::string comparisonLine(std::string_view source, const Comparison& comparison);

// The line for a message that could not be read.
std::string comparisonLine(std::string_view source, const Problem& problem);

}  // namespace emltool
