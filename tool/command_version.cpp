/* eml version */
#include "tool/command.h"

#include "tool/version.h"

namespace emltool {

namespace {

class VersionRun final : public CommandRun {
  public:
    ExitCode run(Console& console, const GlobalOptions& options) override {
        console.print(options.json ? std::string("{\"schema\":\"eml/1\",\"version\":\"") + kVersion + "\"}\n"
                                   : std::string("eml ") + kVersion + "\n");
        return ExitCode::Done;
    }
};

std::unique_ptr<CommandRun> declare(CLI::App&) { return std::make_unique<VersionRun>(); }

}  // namespace

const Command kVersionCommand = {"version", "print the version", "", "", declare};

}  // namespace emltool
