// Completion of command lines, for shells.
#pragma once

#include <string>

namespace emltool {

// The script that tells a shell the commands and their options, made from the same table as the help.
std::string bashCompletions();
std::string zshCompletions();
std::string fishCompletions();

}  // namespace emltool
