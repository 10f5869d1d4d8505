// The options that stand before or behind every command.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace emltool {

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
