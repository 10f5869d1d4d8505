// The command line, from the arguments to the exit code.
#pragma once

#include <string>
#include <vector>

namespace emltool {

// Runs the tool with the arguments after its name and returns its exit code. Reports all problems itself.
int runTool(const std::vector<std::string>& arguments);

}  // namespace emltool
