#include "tool/cli/global_options.h"

#include <CLI/CLI.hpp>

namespace emltool {

void declareGlobalOptions(CLI::App& app, GlobalArguments& arguments) {
    app.set_help_flag();  // help is asked for before anything else is looked at
    app.add_flag("--json", arguments.json, "answer in JSON, one line for each message");
    app.add_option("--color", arguments.color, "auto (the default), always or never; NO_COLOR is honoured")
        ->type_name("WHEN");
    app.add_flag("-q,--quiet", arguments.quiet, "only data and errors");
    app.add_flag("-v,--verbose", arguments.verbose, "more details");
    app.add_flag("-h,--help", arguments.help, "show help, for a command where one is given");
    app.add_flag("--version", arguments.version, "print the version");
}

}  // namespace emltool
