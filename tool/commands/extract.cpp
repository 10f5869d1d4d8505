// eml extract: attachments to files, or one to standard output.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "tool/cli/command.h"
#include "tool/commands/extract_work.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/extraction.h"
#include "tool/message/sha256_need.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 4> kConflictWords = {"rename", "skip", "overwrite",
                                                            "fail"};  // OnConflict
constexpr Choices kConflictChoices{"on-conflict", "choice", kConflictWords};

// Only notes which sub-files are chosen.
class ChoiceVisitor final : public AttachmentVisitor {
  public:
    explicit ChoiceVisitor(Selection& selection) : selection_(selection) {}

    void visit(SubFileContent&, SubFileEntry& entry) override {
        if (selection_.wants(entry.path)) chosen_.push_back(entry.path);
    }
    bool opens(const SubFileEntry& entry) const override { return selection_.reachesInto(entry.path); }

    const std::vector<SubFilePath>& chosen() const { return chosen_; }

  private:
    Selection& selection_;
    std::vector<SubFilePath> chosen_;
};

// Writes the one sub-file `path` to standard output.
class StandardOutputVisitor final : public AttachmentVisitor {
  public:
    StandardOutputVisitor(MessageFile& file, const SubFilePath& path) : file_(file), path_(path) {}

    void visit(SubFileContent& content, SubFileEntry& entry) override {
        if (entry.path != path_) return;
        emlhost::DescriptorOutput output(STDOUT_FILENO);
        emlhost::Extraction extraction = content.extract(output);
        file_.checkReads();
        if (output.error() == std::errc::broken_pipe) throw BrokenPipe{};
        if (output.error()) {
            throw Problem(ExitCode::kOutput, "write-failed", "standard output", describe(output.error()));
        }
        if (extraction.status != EML_OK || !entry.isInFile) {
            throw Problem(ExitCode::kNoSubFile, "not-in-file", file_.name(),
                          formatted("sub-file {}: only its name is in the message", dotted(path_)));
        }
    }
    bool opens(const SubFileEntry& entry) const override {
        return entry.path.size() < path_.size() &&
               std::equal(entry.path.begin(), entry.path.end(), path_.begin());
    }

  private:
    MessageFile& file_;
    const SubFilePath& path_;
};

// Writes one sub-file of one message to standard output.
ExitCode writeToStandardOutput(MessageFile& file, const std::string& argument, const ExtractRequest& request,
                               const GlobalOptions& options) {
    Selection selection(request.numbers, request.recursive);
    ChoiceVisitor choice(selection);
    readFiles(file, choice, options);
    std::vector<std::string> missing = selection.notFound();
    if (!missing.empty()) throw noSubFile(file, argument, missing[0]);
    if (choice.chosen().empty()) {
        throw Problem(ExitCode::kNoSubFile, "no-sub-file", file.name(), "no attachments");
    }
    if (choice.chosen().size() > 1) {
        throw usageProblem(formatted("-o - writes one sub-file, and {} are chosen; choose one with -n",
                                     choice.chosen().size()));
    }
    StandardOutputVisitor writer(file, choice.chosen()[0]);
    readFiles(file, writer, options);
    return ExitCode::kDone;
}

class ExtractRun final : public CommandRun {
  public:
    explicit ExtractRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_option("-n,--number", request_.numbers,
                       "sub-file to extract, as \"eml list\" numbers them (repeatable)")
            ->type_name("N")
            ->allow_extra_args(false);
        app.add_flag("-r,--recursive", request_.recursive,
                     "also attachments of embedded messages, signed parts and winmail.dat, at most 32 deep");
        app.add_option("-o,--output", request_.folder,
                       "folder to write into, created if missing; - is standard output")
            ->type_name("DIR");
        app.add_flag("--per-message", request_.perMessage, "a folder in DIR for each message that has files");
        store_ = app.add_option("--store", request_.store,
                                "write each content once, into DIR under its SHA-256; with --manifest")
                     ->type_name("DIR");
        app.add_flag("--resume", request_.resume, "continue a manifest of --store");
        conflict_ = app.add_option("--on-conflict", onConflict_,
                                   "if a file exists: rename, skip, overwrite or fail (the default)")
                        ->type_name("WHAT");
        app.add_option("--manifest", request_.manifest,
                       "lists what was written, one line of JSON each; - is standard output")
            ->type_name("OUT");
        app.add_flag("-l,--list", request_.onlyList, "show what would be extracted, write nothing");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        request_.onConflict = static_cast<OnConflict>(kConflictChoices.parse(onConflict_));
        check(options);
        const Selection checked(request_.numbers, request_.recursive);
        if (!request_.toStandardOutput()) return extractToFiles(console, options, request_, messages_);
        MessageFile file(messages_.message(), messages_.force());
        refuseEncrypted(file, options.reading);
        return writeToStandardOutput(file, messages_.file(), request_, options);
    }

  private:
    void check(const GlobalOptions& options) const {
        if (store_->count() > 0) checkStore(options);
        if (request_.resume && store_->count() == 0)
            throw usageProblem("--resume continues a manifest of --store; without that, choose a new folder");
        if (options.allReadings && !request_.numbers.empty()) {
            throw usageProblem("-n takes the numbers of one reading; leave out --reader=all");
        }
        if (!request_.manifest.empty() && request_.onlyList) {
            throw usageProblem("--manifest lists what is written, and -l writes nothing");
        }
        if (request_.manifest == "-" && options.json) {
            throw usageProblem("--json and --manifest=- both want standard output");
        }
        if (!request_.manifest.empty()) needSha256("--manifest");
        if (options.allReadings) needSha256("--reader=all");
        if (request_.toStandardOutput()) checkStandardOutput(options);
    }

    void checkStore(const GlobalOptions& options) const {
        if (request_.store.empty()) throw usageProblem("--store= names no folder; . is the current one");
        const std::pair<bool, const char*> others[] = {{!request_.folder.empty(), "-o"},
                                                       {request_.perMessage, "--per-message"},
                                                       {conflict_->count() > 0, "--on-conflict"},
                                                       {request_.onlyList, "-l"}};
        for (const auto& [isGiven, option] : others) {
            if (isGiven) {
                throw usageProblem(formatted(
                    "{} is for files with names; --store has each content under its SHA-256", option));
            }
        }
        if (request_.manifest.empty() && !options.json)
            throw usageProblem("--store needs --manifest=OUT, which tells what is where; or --json");
        if (request_.resume && (request_.manifest.empty() || request_.manifest == "-"))
            throw usageProblem("--resume needs --manifest=FILE");
        needSha256("--store");
    }

    void checkStandardOutput(const GlobalOptions& options) const {
        if (options.json) throw usageProblem("--json and -o - both want standard output");
        if (!request_.manifest.empty()) throw usageProblem("-o - writes no file that --manifest could list");
        if (request_.perMessage) throw usageProblem("--per-message makes folders; name one for them with -o");
        if (messages_.files().size() > 1) {
            throw usageProblem(
                formatted("-o - takes one FILE; {} is one too many", visible(messages_.files()[1])));
        }
        if (::isatty(STDOUT_FILENO) != 0) {
            throw usageProblem("standard output is a terminal, which an attachment could drive; redirect it");
        }
    }

    MessageArguments messages_;
    ExtractRequest request_;
    std::string onConflict_ = "fail";
    CLI::Option* store_ = nullptr;
    CLI::Option* conflict_ = nullptr;
};

std::unique_ptr<CommandRun> declareExtract(CLI::App& app) { return std::make_unique<ExtractRun>(app); }

}  // namespace

const Command kExtractCommand = {
    "extract",
    "write the attachments of a message to files",
    "FILE...",
    "Names in messages come from strangers. Each becomes a plain file name in the folder: no path, no\n"
    "control characters, no dots in front; two of the same name become \"name (2).ext\". Every file is\n"
    "written under a temporary name and appears when it is complete. With -r all files go into the one\n"
    "folder. -n 3.1 is sub-file 1 of the message that is sub-file 3.\n\n"
    "FILE may also be a folder, an mbox or an archive. The files of all messages go into the one folder, or, "
    "with\n"
    "--per-message, each into a folder of its own: 0017-letter for the 17th message, letter.eml. One that\n"
    "cannot be read does not stop the others. --manifest lists for each file where it is from and its "
    "SHA-256.\n"
    "--reader=all writes what any of the three readings offers, each content once.\n\n"
    "--store is for archives: DIR/ab/cdef... has the content whose SHA-256 begins with abcdef, whatever its\n"
    "name and however many messages have it. A content that is there is not written again, and several\n"
    "processes may write one store. The manifest grows message by message, and --resume goes on where a\n"
    "run has stopped.\n\n"
    "Examples:\n"
    "  eml extract -o out message.eml\n"
    "  eml extract -l message.eml\n"
    "  eml extract -n 2 -o - message.eml | less\n"
    "  eml extract -o out --per-message --manifest=out.jsonl Archive/\n"
    "  eml extract --store=files --manifest=files.jsonl --resume Archive/\n"
    "  eml extract --reader=all -o out suspicious.eml\n",
    declareExtract,
    {&kConflictChoices, 1},
    true};

}  // namespace emltool
