#include "tool/cli/command_line.h"

#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <new>

#include "tool/cli/command.h"
#include "tool/cli/global_options.h"
#include "tool/cli/help.h"
#include "tool/cli/version.h"
#include "tool/text/format.h"
#include "tool/text/suggestion.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

struct Parsed {
    GlobalArguments global;
    const Command* command = nullptr;
    CLI::App* commandApp = nullptr;
    std::unique_ptr<CommandRun> run;
};

// The names of the options: "--json", "-r".
std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        for (const std::string& name : option->get_snames()) names.push_back("-" + name);
    }
    return names;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates) {
    std::string near = closest(word, candidates);
    return near.empty() ? "" : formatted("; did you mean {}?", near);
}

// Whether `argument` is an option of this command: "--force", "-n2", "--to=html".
bool isOptionOf(const CLI::App& commandApp, const std::string& argument) {
    const bool isLong = argument.starts_with("--");
    const std::string name = isLong ? argument.substr(0, argument.find('=')) : argument.substr(0, 2);
    const std::vector<std::string> names = optionNames(commandApp);
    return std::find(names.begin(), names.end(), name) != names.end();
}

Problem unknownOption(const std::string& argument, const CLI::App& app, const Parsed& parsed) {
    std::string option = argument.substr(0, argument.find('='));
    // The parser takes the options of a command only after its name.
    if (parsed.commandApp != nullptr && isOptionOf(*parsed.commandApp, argument)) {
        return usageProblem(
            formatted("{0} belongs to {1}: eml {1} {0}", shellWord(argument), parsed.command->name));
    }
    std::vector<std::string> names = optionNames(app);
    if (parsed.commandApp != nullptr) {
        std::vector<std::string> more = optionNames(*parsed.commandApp);
        names.insert(names.end(), more.begin(), more.end());
    }
    // A single letter resembles every other.
    std::string hint = option.size() > 2 ? didYouMean(option, names) : "";
    if (hint.empty()) {
        std::string command = parsed.command == nullptr ? "" : std::string(parsed.command->name) + " ";
        hint = formatted("; see \"eml {}--help\"", command);
    }
    return usageProblem(formatted("unknown option {}{}", option, hint));
}

Problem unknownCommand(const std::string& word) {
    std::vector<std::string> names;
    for (const Command* command : commands()) names.emplace_back(command->name);
    std::string hint = didYouMean(word, names);
    return usageProblem(
        formatted("unknown command {}{}", word, hint.empty() ? "; see \"eml --help\"" : hint));
}

bool isCommand(const std::string& word) {
    return std::any_of(commands().begin(), commands().end(),
                       [&](const Command* command) { return word == command->name; });
}

// "eml FILE" shows the file: if the first word is not a command but a file, or standard input, "show" is
// inserted before it.
std::vector<std::string> withDefaultCommand(std::vector<std::string> arguments) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        bool isOption = word.size() > 1 && word[0] == '-';
        if (isOption && word != "--") {
            if (word == "--color" || word == "--reader" || word == "--schema") ++i;
            continue;
        }
        size_t at = word == "--" ? i + 1 : i;
        if (at >= arguments.size()) break;
        struct stat found {};
        // Commands have neither dots nor slashes: a file that is missing is reported as one.
        bool isFile = arguments[at].find_first_of("./") != std::string::npos || arguments[at] == "-" ||
                      ::stat(arguments[at].c_str(), &found) == 0;
        if (isFile && (at != i || !isCommand(word)))
            arguments.insert(arguments.begin() + static_cast<ptrdiff_t>(i), "show");
        break;
    }
    return arguments;
}

// Arguments that are left over: an unknown option, or else a word that is no command.
void refuseExtras(const CLI::App& app, const Parsed& parsed) {
    std::vector<std::string> extras = app.remaining(true);
    std::erase(extras, "--");
    auto isOption = [](const std::string& word) { return word.size() > 1 && word[0] == '-'; };
    auto option = std::find_if(extras.begin(), extras.end(), isOption);
    if (option != extras.end()) throw unknownOption(*option, app, parsed);
    if (extras.empty()) return;
    if (parsed.command == nullptr) throw unknownCommand(extras.front());
    throw usageProblem(formatted("{}: unexpected argument {}", parsed.command->name, extras.front()));
}

// The option that the parser's message is about; the message begins with its name.
const CLI::Option* optionNamed(const CLI::App& app, std::string_view name) {
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_name() == name) return option;
    }
    for (const CLI::App* command : app.get_subcommands({})) {
        if (const CLI::Option* option = optionNamed(*command, name)) return option;
    }
    return nullptr;
}

// "--force=maybe": a value for an option that takes none.
std::string flagWithValue(const CLI::App& app, const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        size_t equals = argument.find('=');
        if (argument == "--") break;
        if (!argument.starts_with("--") || equals == std::string::npos) continue;
        const CLI::Option* option = optionNamed(app, argument.substr(0, equals));
        if (option != nullptr && option->get_expected_max() == 0) return argument;
    }
    return "";
}

// What the parser rejected, in our words.
Problem parserProblem(const CLI::ParseError& error, const CLI::App& app,
                      const std::vector<std::string>& arguments) {
    std::string flag = flagWithValue(app, arguments);
    if (!flag.empty()) {
        return usageProblem(
            formatted("{}: takes no value; it is given as {}", flag, flag.substr(0, flag.find('='))));
    }
    std::string text = error.what();
    std::string name = text.substr(0, text.find(':'));
    const CLI::Option* option = optionNamed(app, name);
    if (option == nullptr) return usageProblem(text);
    if (option->count() > 1 && option->get_items_expected_max() == 1) {
        return usageProblem(formatted("{}: given more than once", name));
    }
    return usageProblem(
        formatted("{} needs a value, {}: {}", name, option->get_type_name(), option->get_description()));
}

// Each command declares its options in an application of its own; the global ones may stand anywhere. Commands that no
// argument names are not used, and need no options: declaring all takes half the time that a small message takes.
void parse(CLI::App& app, const std::vector<std::string>& arguments, Parsed& parsed) {
    declareGlobalOptions(app, parsed.global);
    app.allow_extras();
    app.require_subcommand(0, 1);  // a file may have the name of a command
    std::vector<std::pair<CLI::App*, std::unique_ptr<CommandRun>>> runs;
    for (const Command* command : commands()) {
        CLI::App* commandApp = app.add_subcommand(command->name, command->summary);
        commandApp->set_help_flag();
        commandApp->allow_extras();
        commandApp->fallthrough();
        const bool isNamed = std::find(arguments.begin(), arguments.end(), command->name) != arguments.end();
        runs.emplace_back(commandApp, isNamed ? command->declare(*commandApp) : nullptr);
    }
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        // An option may be one of another command.
        for (size_t i = 0; i < runs.size(); ++i) {
            if (runs[i].second == nullptr) runs[i].second = commands()[i]->declare(*runs[i].first);
        }
        throw parserProblem(error, app, arguments);
    }
    for (size_t i = 0; i < runs.size(); ++i) {
        if (!*runs[i].first) continue;
        parsed.command = commands()[i];
        parsed.commandApp = runs[i].first;
        parsed.run = std::move(runs[i].second);
    }
}

ExitCode runParsed(CLI::App& app, Parsed& parsed, Console& console) {
    refuseExtras(app, parsed);
    GlobalOptions options;
    options.json = parsed.global.json;
    options.schema = kSchemaChoices.parse(parsed.global.schema) == 0 ? 1 : 2;
    const size_t reader = kReaderChoices.parse(parsed.global.reader);
    options.allReadings = reader == kReaderChoices.words.size() - 1;
    options.reading = options.allReadings ? Reading::kMime : static_cast<Reading>(reader);
    Verbosity verbosity = parsed.global.quiet     ? Verbosity::kQuiet
                          : parsed.global.verbose ? Verbosity::kVerbose
                                                  : Verbosity::kNormal;
    console = Console(static_cast<ColorChoice>(kColorChoices.parse(parsed.global.color)), verbosity);
    if (parsed.global.help) {
        console.print(parsed.command == nullptr
                          ? mainHelp(app, console.style())
                          : commandHelp(*parsed.command, *parsed.commandApp, console.style()));
        return ExitCode::kDone;
    }
    if (parsed.global.version) return kVersionCommand.declare(app)->run(console, options);
    if (parsed.run == nullptr) throw usageProblem("no command given; see \"eml --help\"");
    if (options.allReadings && !parsed.command->takesAllReadings) {
        throw usageProblem(
            formatted("--reader=all is for extract; {} gives one reading at a time, or see \"eml compare\"",
                      parsed.command->name));
    }
    return parsed.run->run(console, options);
}

int endByBrokenPipe() {
    // As the signal does if it is not ignored.
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    return 128 + SIGPIPE;
}

}  // namespace

int runTool(const std::vector<std::string>& arguments) {
    Console console;
    ExitCode code = ExitCode::kDone;
    try {
        CLI::App app;
        Parsed parsed;
        try {
            parse(app, withDefaultCommand(arguments), parsed);
            code = runParsed(app, parsed, console);
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            console.report(problem);
            code = problem.exit;
        } catch (const std::bad_alloc&) {
            console.report(outOfMemory(""));
            code = ExitCode::kInternal;
        }
        console.flush();
        if (parsed.global.strict && code == ExitCode::kDone && console.hasWarned()) code = ExitCode::kInPart;
    } catch (const BrokenPipe&) {
        return endByBrokenPipe();
    } catch (const Problem& problem) {
        console.report(problem);
        code = problem.exit;
    } catch (const std::exception& error) {
        console.report({ExitCode::kInternal, "internal", "", formatted("internal error: {}", error.what())});
        code = ExitCode::kInternal;
    }
    return static_cast<int>(code);
}

}  // namespace emltool
