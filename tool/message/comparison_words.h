// What a comparison says, in words.
#pragma once

#include <string>
#include <string_view>

#include "tool/message/comparison.h"

namespace emltool {

// For programs: "other-name".
std::string_view markWord(Mark mark);

// For people: "other name".
std::string_view markText(Mark mark);

// What the readings disagree on, in one line: "2 files, the subject".
std::string disagreement(const Comparison& comparison);

}  // namespace emltool
