// eml schema
#include "tool/cli/command.h"
#include "tool/commands/schema_text.h"

namespace emltool {

namespace {

class SchemaRun final : public CommandRun {
  public:
    ExitCode run(Console& console, const GlobalOptions& options) override {
        console.print(options.schema == 1 ? kSchemaText1 : kSchemaText2);
        return ExitCode::kDone;
    }
};

std::unique_ptr<CommandRun> declareSchema(CLI::App&) { return std::make_unique<SchemaRun>(); }

}  // namespace

const Command kSchemaCommand = {"schema", "print the JSON schema of the answers for programs", "", "",
                                declareSchema};

}  // namespace emltool
