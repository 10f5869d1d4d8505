// eml version
#include <fmt/format.h>

#include "tool/cli/command.h"
#include "tool/cli/version.h"
#include "tool/message/tnef.h"

namespace emltool {

namespace {

class VersionRun final : public CommandRun {
  public:
    ExitCode run(Console& console, const GlobalOptions& options) override {
        if (options.json) {
            console.print(fmt::format("{{\"schema\":\"eml/1\",\"version\":\"{}\",\"features\":[{}]}}\n",
                                      kVersion, readsTnef() ? "\"tnef\"" : ""));
        } else {
            console.print(fmt::format("eml {}\n", kVersion));
            console.print(fmt::format("TNEF (winmail.dat): {}\n",
                                      readsTnef() ? "unpacked" : "not unpacked, built without libytnef"));
        }
        return ExitCode::kDone;
    }
};

std::unique_ptr<CommandRun> declareVersion(CLI::App&) { return std::make_unique<VersionRun>(); }

}  // namespace

const Command kVersionCommand = {"version", "print the version", "", "", declareVersion};

}  // namespace emltool
