#include "tool/cli/global_options.h"

#include <CLI/CLI.hpp>
#include <array>

namespace emltool {

namespace {

constexpr std::array<std::string_view, 3> kColorWords = {"auto", "always", "never"};
constexpr std::array<std::string_view, 4> kReaderWords = {"mime", "container", "filter", "all"};
constexpr std::array<std::string_view, 2> kSchemaWords = {"1", "2"};

// One after the other, so that the completions can have them as a span.
constexpr std::array<Choices, 3> kAll = {{{"color", "choice", kColorWords},
                                          {"reader", "reader", kReaderWords},
                                          {"schema", "version", kSchemaWords}}};

}  // namespace

const Choices kColorChoices = kAll[0];
const Choices kReaderChoices = kAll[1];
const Choices kSchemaChoices = kAll[2];

std::span<const Choices> globalChoices() { return kAll; }

void declareGlobalOptions(CLI::App& app, GlobalArguments& arguments) {
    app.set_help_flag();  // help takes precedence over everything else
    app.add_flag("--json", arguments.json, "answer in JSON, one line for each message");
    app.add_option("--color", arguments.color, "auto (the default), always or never; NO_COLOR is honoured")
        ->type_name("WHEN");
    app.add_option("--reader", arguments.reader,
                   "mime (the default), container or filter: what hosts of that reader get; or all")
        ->type_name("NAME");
    app.add_option("--schema", arguments.schema, "version of the JSON answers: 2 (the default) or 1")
        ->type_name("N");
    app.add_flag("--strict", arguments.strict, "exit with 1 if there was any warning");
    app.add_flag("-q,--quiet", arguments.quiet, "print only data and errors");
    app.add_flag("-v,--verbose", arguments.verbose, "print more details");
    app.add_flag("-h,--help", arguments.help, "show help, or the help of a command");
    app.add_flag("--version", arguments.version, "print the version");
}

}  // namespace emltool
