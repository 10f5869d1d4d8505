#pragma once

#include <string>

#include "tool/cli/command.h"

namespace emltool {

// What `eml --help` and `eml COMMAND --help` print. `app` has the options.
std::string mainHelp(const CLI::App& app, const Style& style);
std::string commandHelp(const Command& command, const CLI::App& app, const Style& style);

}  // namespace emltool
