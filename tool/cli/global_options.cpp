#include "tool/cli/global_options.h"

#include <CLI/CLI.hpp>
#include <array>

namespace emltool {

namespace {

constexpr std::array<std::string_view, 3> kColorWords = {"auto", "always", "never"};

}  // namespace

const Choices kColorChoices{"color", "choice", kColorWords};

void declareGlobalOptions(CLI::App& app, GlobalArguments& arguments) {
    app.set_help_flag();  // help takes precedence over everything else
    app.add_flag("--json", arguments.json, "answer in JSON, one line for each message");
    app.add_option("--color", arguments.color, "auto (the default), always or never; NO_COLOR is honoured")
        ->type_name("WHEN");
    app.add_flag("-q,--quiet", arguments.quiet, "print only data and errors");
    app.add_flag("-v,--verbose", arguments.verbose, "print more details");
    app.add_flag("-h,--help", arguments.help, "show help, or the help of a command");
    app.add_flag("--version", arguments.version, "print the version");
}

}  // namespace emltool
