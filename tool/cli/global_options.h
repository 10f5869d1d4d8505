// The options that may stand before or after every command.
#pragma once

#include <string>

#include "tool/cli/choices.h"

namespace CLI {
class App;
}

namespace emltool {

// Of --color, in the order of ColorChoice.
extern const Choices kColorChoices;

struct GlobalArguments {
    bool json = false;
    std::string color = "auto";
    bool quiet = false;
    bool verbose = false;
    bool help = false;
    bool version = false;
};

// Declares them in `app`, which fills `arguments` in when it has parsed.
void declareGlobalOptions(CLI::App& app, GlobalArguments& arguments);

}  // namespace emltool
