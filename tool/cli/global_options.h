// The options that may stand before or after every command.
#pragma once

#include <span>
#include <string>

#include "tool/cli/choices.h"

namespace CLI {
class App;
}

namespace emltool {

// Of --color, in the order of ColorChoice.
extern const Choices kColorChoices;

// Of --reader, in the order of Reading, and all of them.
extern const Choices kReaderChoices;

// Of --schema.
extern const Choices kSchemaChoices;

// All of them.
std::span<const Choices> globalChoices();

struct GlobalArguments {
    bool json = false;
    std::string color = "auto";
    std::string reader = "mime";
    std::string schema = "2";
    bool strict = false;
    bool quiet = false;
    bool verbose = false;
    bool help = false;
    bool version = false;
};

// Declares them in `app`, which fills `arguments` in when it has parsed.
void declareGlobalOptions(CLI::App& app, GlobalArguments& arguments);

}  // namespace emltool
