// The commands of the tool, each in a file of its own: command_NAME.cpp.
#pragma once

#include <memory>
#include <span>

#include "tool/terminal/console.h"

namespace CLI {
class App;
}

namespace emltool {

// Options that every command knows.
struct GlobalOptions {
    bool json = false;
};

// One command with its options.
class CommandRun {
  public:
    virtual ~CommandRun() = default;

    // Throws Problem, for instance where the options make no sense; BrokenPipe; std::bad_alloc.
    virtual ExitCode run(Console& console, const GlobalOptions& options) = 0;
};

// A row of the table of commands.
struct Command {
    const char* name;
    const char* summary;
    const char* arguments;  // what stands behind the options: "FILE..."
    const char* footer;     // behind the options in `eml NAME --help`
    // Declares the options of the command in `app`; they are filled in when it has parsed.
    std::unique_ptr<CommandRun> (*declare)(CLI::App& app);
};

extern const Command kShowCommand;
extern const Command kListCommand;
extern const Command kInfoCommand;
extern const Command kExtractCommand;
extern const Command kRenderCommand;
extern const Command kRecordsCommand;
extern const Command kViewCommand;
extern const Command kBatchCommand;
extern const Command kSchemaCommand;
extern const Command kCompletionsCommand;
extern const Command kVersionCommand;

// All of them, in the order of the help.
std::span<const Command* const> commands();

}  // namespace emltool
