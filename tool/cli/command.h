// The commands of the tool, each in a file of its own: commands/NAME.cpp.
#pragma once

#include <memory>
#include <span>

#include "tool/cli/choices.h"
#include "tool/terminal/console.h"
#include "tool/text/reading.h"

namespace CLI {
class App;
}

namespace emltool {

// Options of all commands.
struct GlobalOptions {
    bool json = false;
    int schema = 2;  // of the answers in JSON: 1 or 2
    Reading reading = Reading::kMime;
    bool allReadings = false;  // --reader=all; `reading` is kMime then
};

// One command with its options.
class CommandRun {
  public:
    virtual ~CommandRun() = default;

    // Throws Problem, for instance if the options contradict each other; BrokenPipe; std::bad_alloc.
    virtual ExitCode run(Console& console, const GlobalOptions& options) = 0;
};

// A row of the table of commands.
struct Command {
    const char* name;
    const char* summary;
    const char* arguments;  // what follows the options: "FILE..."
    const char* footer;     // after the options in `eml NAME --help`
    // Declares the options of the command in `app`; they have their values when it has parsed.
    std::unique_ptr<CommandRun> (*declare)(CLI::App& app);
    // Its options, or arguments, that take one of a few words.
    std::span<const Choices> choices = {};
    bool takesAllReadings = false;  // has something to do for --reader=all
};

extern const Command kShowCommand;
extern const Command kListCommand;
extern const Command kTreeCommand;
extern const Command kInfoCommand;
extern const Command kExtractCommand;
extern const Command kCompareCommand;
extern const Command kRenderCommand;
extern const Command kRecordsCommand;
extern const Command kViewCommand;
extern const Command kBatchCommand;
extern const Command kSearchCommand;
extern const Command kSchemaCommand;
extern const Command kCompletionsCommand;
extern const Command kVersionCommand;

// All of them, in the order of the help.
std::span<const Command* const> commands();

}  // namespace emltool
