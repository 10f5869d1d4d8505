// eml compare: what the three readings of a message find, side by side.
#include <CLI/CLI.hpp>

#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/comparison.h"
#include "tool/message/comparison_json.h"
#include "tool/message/comparison_text.h"
#include "tool/message/sha256_need.h"

namespace emltool {

namespace {

class CompareRun final : public CommandRun {
  public:
    explicit CompareRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        if (options.reading != Reading::kMime) {
            throw usageProblem("compare shows all readings; --reader does not apply");
        }
        needSha256("compare");
        FileHeadings headings(console, messages_.files().size());
        bool disagree = false;
        auto work = [&](const MessageSource& source) {
            MessageFile file(source, messages_.force());
            const Comparison comparison = compareReadings(file);
            disagree = disagree || !comparison.agrees();
            if (options.json) {
                console.print(comparisonLine(source.path, comparison));
            } else {
                headings.print(source);
                printComparison(console, comparison);
            }
        };
        const ExitCode code =
            forEachFile(console, messages_, work, [&](const MessageSource& source, const Problem& problem) {
                if (options.json) console.print(comparisonLine(source.path, problem));
            });
        return code == ExitCode::kDone && disagree ? ExitCode::kInPart : code;
    }

  private:
    MessageArguments messages_;
};

std::unique_ptr<CommandRun> declareCompare(CLI::App& app) { return std::make_unique<CompareRun>(app); }

}  // namespace

const Command kCompareCommand = {
    "compare", "what each of the three readings finds; exit code 1 if they disagree", "FILE...",
    "One line for each content that any reading offers as a file, and for subject and text: \"yes\" where a\n"
    "reading gives it under the same name with the same bytes, \"no\" where it does not. A message that one\n"
    "program reads in another way than the next may carry something past a filter: see what differs here.\n"
    "White space, quote marks and line ends do not count. -v shows exact sizes and SHA-256.\n\n"
    "Examples:\n"
    "  eml compare message.eml\n"
    "  eml --json compare *.eml | jq -r 'select(.agree == false) | .source.path'\n",
    declareCompare};

}  // namespace emltool
