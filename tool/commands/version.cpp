// eml version
#include <array>
#include <string>
#include <string_view>

#include "tool/archive/unpack.h"
#include "tool/cli/command.h"
#include "tool/cli/version.h"
#include "tool/database/database.h"
#include "tool/html/html_parser.h"
#include "tool/message/smime.h"
#include "tool/message/tnef.h"
#include "tool/text/charset_guess.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

// What this program does only with a library that it may have been built without.
struct Feature {
    std::string_view name;  // for programs
    std::string_view subject;
    std::string_view done;
    std::string_view notDone;
    std::string (*lack)();

    bool isThere() const { return lack().empty(); }
};

constexpr std::array<Feature, 7> kFeatures = {{
    {"tnef", "TNEF (winmail.dat)", "unpacked", "not unpacked", tnefLack},
    {"smime", "S/MIME", "signed messages unwrapped, nothing verified or decrypted", "not unwrapped",
     smimeLack},
    {"sha256", "SHA-256", "computed", "not computed", sha256Lack},
    {"charset-guess", "text without a charset", "guessed where it is not UTF-8",
     "Western where it is not UTF-8", charsetGuessLack},
    {"html", "HTML", "shown as its text", "shown as its source", htmlLack},
    {"database", "databases (eml search)", "written and searched", "not written", databaseLack},
    {"archives", "tar, zip and compressed files", "read", "not read", archiveLack},
}};

class VersionRun final : public CommandRun {
  public:
    ExitCode run(Console& console, const GlobalOptions& options) override {
        if (options.json) {
            std::string names;
            for (const Feature& feature : kFeatures) {
                if (feature.isThere()) names += formatted("{}\"{}\"", names.empty() ? "" : ",", feature.name);
            }
            console.print(formatted("{{\"schema\":\"eml/1\",\"version\":\"{}\",\"features\":[{}]}}\n",
                                    kVersion, names));
            return ExitCode::kDone;
        }
        console.print(formatted("eml {}\n", kVersion));
        for (const Feature& feature : kFeatures) {
            const std::string lack = feature.lack();
            console.print(lack.empty() ? formatted("{}: {}\n", feature.subject, feature.done)
                                       : formatted("{}: {}, {}\n", feature.subject, feature.notDone, lack));
        }
        return ExitCode::kDone;
    }
};

std::unique_ptr<CommandRun> declareVersion(CLI::App&) { return std::make_unique<VersionRun>(); }

}  // namespace

const Command kVersionCommand = {"version", "print the version", "", "", declareVersion};

}  // namespace emltool
