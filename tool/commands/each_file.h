// The files that a command was given, one after the other.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

namespace emltool {

using FileWork = std::function<void(const std::string& path)>;
using FileFailure = std::function<void(const std::string& path, const Problem& problem)>;

// Does the work for each path. A Problem is handed to `onProblem`, if there is one, and reported; the next path
// has its turn all the same, unless standard output is what failed. Gives the exit code of it all.
ExitCode forEachFile(Console& console, const std::vector<std::string>& paths, const FileWork& work,
                     const FileFailure& onProblem = nullptr);

}  // namespace emltool
