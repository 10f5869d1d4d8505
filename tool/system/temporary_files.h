// What cannot be written to the folder for temporary files.
#pragma once

#include <system_error>

#include "tool/terminal/problem.h"

namespace emltool {

// The problem of that folder, which names it.
Problem temporaryFileProblem(const std::error_code& error);

}  // namespace emltool
