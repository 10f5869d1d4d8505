// eml completions: what a shell needs to complete command lines.
#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "tool/cli/command.h"
#include "tool/cli/completions.h"

namespace emltool {

namespace {

class CompletionsRun final : public CommandRun {
  public:
    explicit CompletionsRun(CLI::App& app) {
        app.add_option("SHELL", shell_, "bash, zsh or fish")->type_name("");
    }

    ExitCode run(Console& console, const GlobalOptions&) override {
        if (shell_ == "bash") {
            console.print(bashCompletions());
        } else if (shell_ == "zsh") {
            console.print(zshCompletions());
        } else if (shell_ == "fish") {
            console.print(fishCompletions());
        } else if (shell_.empty()) {
            throw usageProblem("completions: no SHELL given; it is bash, zsh or fish");
        } else {
            throw usageProblem(
                fmt::format("completions: no such shell, {}; it is bash, zsh or fish", shell_));
        }
        return ExitCode::kDone;
    }

  private:
    std::string shell_;
};

std::unique_ptr<CommandRun> declare(CLI::App& app) { return std::make_unique<CompletionsRun>(app); }

}  // namespace

const Command kCompletionsCommand = {"completions", "print completions for bash, zsh or fish", "SHELL",
                                     "Examples:\n"
                                     "  . <(eml completions bash)\n"
                                     "  eml completions zsh > ~/.zfunc/_eml\n"
                                     "  eml completions fish > ~/.config/fish/completions/eml.fish\n",
                                     declare};

}  // namespace emltool
