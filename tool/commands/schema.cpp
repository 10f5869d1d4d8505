// eml schema
#include <CLI/CLI.hpp>
#include <array>

#include "tool/cli/command.h"
#include "tool/commands/schema_text.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 4> kSubjectWords = {"messages", "tree", "compare", "search"};
constexpr Choices kSubjectChoices{"SUBJECT", "subject", kSubjectWords};

class SchemaRun final : public CommandRun {
  public:
    explicit SchemaRun(CLI::App& app) {
        app.add_option("SUBJECT", subject_,
                       "messages (list, info, extract, batch; the default), tree, compare or search");
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        const std::array<const char*, 4> texts = {options.schema == 1 ? kSchemaText1 : kSchemaText2,
                                                  kTreeSchemaText, kCompareSchemaText, kSearchSchemaText};
        const std::optional<size_t> subject = kSubjectChoices.find(subject_);
        if (!subject) {
            throw usageProblem(
                formatted("schema: no such subject, {}; it is {}", subject_, kSubjectChoices.list()));
        }
        console.print(texts[*subject]);
        return ExitCode::kDone;
    }

  private:
    std::string subject_ = "messages";
};

std::unique_ptr<CommandRun> declareSchema(CLI::App& app) { return std::make_unique<SchemaRun>(app); }

}  // namespace

const Command kSchemaCommand = {"schema",      "print the JSON schema of the answers for programs",
                                "[SUBJECT]",   "",
                                declareSchema, {&kSubjectChoices, 1}};

}  // namespace emltool
