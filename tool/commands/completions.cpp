// eml completions: what a shell needs to complete command lines.
#include <CLI/CLI.hpp>
#include <array>

#include "tool/cli/command.h"
#include "tool/cli/completions.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 3> kShells = {"bash", "zsh", "fish"};
constexpr Choices kShellChoices{"SHELL", "shell", kShells};
constexpr std::array kScripts = {&bashCompletions, &zshCompletions, &fishCompletions};  // of kShells

class CompletionsRun final : public CommandRun {
  public:
    explicit CompletionsRun(CLI::App& app) {
        app.add_option("SHELL", shell_, "bash, zsh or fish")->type_name("");
    }

    ExitCode run(Console& console, const GlobalOptions&) override {
        if (shell_.empty()) {
            throw usageProblem(formatted("completions: no SHELL given; it is {}", kShellChoices.list()));
        }
        const std::optional<size_t> shell = kShellChoices.find(shell_);
        if (!shell) {
            throw usageProblem(
                formatted("completions: no such shell, {}; it is {}", shell_, kShellChoices.list()));
        }
        console.print(kScripts[*shell]());
        return ExitCode::kDone;
    }

  private:
    std::string shell_;
};

std::unique_ptr<CommandRun> declareCompletions(CLI::App& app) {
    return std::make_unique<CompletionsRun>(app);
}

}  // namespace

const Command kCompletionsCommand = {"completions",
                                     "print completions for bash, zsh or fish",
                                     "SHELL",
                                     "Examples:\n"
                                     "  . <(eml completions bash)\n"
                                     "  eml completions zsh > ~/.zfunc/_eml\n"
                                     "  eml completions fish > ~/.config/fish/completions/eml.fish\n",
                                     declareCompletions,
                                     {&kShellChoices, 1}};

}  // namespace emltool
