// eml extract: attachments to files, or one to standard output.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "tool/archive/folder_walk.h"
#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/extract_report.h"
#include "tool/commands/message_arguments.h"
#include "tool/commands/own_files.h"
#include "tool/message/extraction.h"
#include "tool/message/json_text.h"
#include "tool/message/manifest.h"
#include "tool/message/union_tree.h"
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

// The tree with the files that `options` ask for.
MessageTree readFiles(MessageFile& file, AttachmentVisitor& visitor, const GlobalOptions& options) {
    return options.allReadings ? readUnionTree(file, visitor) : readTree(file, visitor, options.reading);
}

bool isEncrypted(MessageFile& file) {
    return (file.message().describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0;
}

void refuseEncrypted(MessageFile& file, Reading reading) {
    if (reading != Reading::kContainer || !isEncrypted(file)) return;
    throw Problem(ExitCode::kEncrypted, "encrypted", file.name(),
                  "encrypted (S/MIME); only the header can be shown");
}

Problem noSubFile(const MessageFile& file, const std::string& argument, const std::string& number) {
    const char* recursive = number.find('.') == std::string::npos ? "" : "-r ";
    return {ExitCode::kNoSubFile, "no-sub-file", file.name(),
            formatted("no sub-file {}; see \"eml list {}{}\"", number, recursive, shellWord(argument))};
}

// What the user asked for.
struct ExtractRequest {
    std::vector<std::string> numbers;
    std::string folder;
    std::string onConflict = "fail";
    std::string manifest;
    bool recursive = false;
    bool onlyList = false;
    bool perMessage = false;

    bool toStandardOutput() const { return folder == "-" && !onlyList; }
    std::string outputFolder() const { return folder == "-" ? "" : folder; }
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

// Writes the files of all messages to disk.
class ExtractWork {
  public:
    ExtractWork(Console& console, const GlobalOptions& options, const ExtractRequest& request,
                const MessageArguments& messages)
        : console_(console),
          options_(options),
          request_(request),
          messages_(messages),
          folder_(request.outputFolder()),
          own_(folder_.path()),
          report_(console, request.folder, request.onlyList, options.allReadings),
          headings_(console, messages.files().size()),
          readsFolders_(std::ranges::any_of(messages.files(), isFolder)) {
        extraction_.onConflict = static_cast<OnConflict>(kConflictChoices.parse(request.onConflict));
        extraction_.onlyPlan = request.onlyList;
        extraction_.digest = !request.manifest.empty();
        extraction_.onWritten = [this](const SubFileEntry& entry) { note(entry); };
        if (request.manifest.empty() || request.manifest == "-") return;
        manifest_ = std::make_unique<ManifestFile>(request.manifest,
                                                   extraction_.onConflict == OnConflict::kOverwrite);
        own_.add(request.manifest);
    }

    ExitCode run() {
        try {
            for (const std::string& argument : messages_.files()) readArgument(argument);
        } catch (...) {
            finishManifest();  // it has what is there
            throw;
        }
        finishManifest();
        folder_.removeIfEmpty();
        if (ofMany_ && printsRows()) report_.printSum(true);
        return tally_.exitCode();
    }

  private:
    bool printsRows() const { return !options_.json && !console_.quiet() && request_.manifest != "-"; }

    void note(const SubFileEntry& entry) {
        if (readsFolders_) own_.add(entry.filePath);
        if (request_.manifest.empty()) return;
        const std::string row = manifestRow(source_, entry, options_.reading);
        if (manifest_ != nullptr) {
            manifest_->add(row);
        } else {
            console_.print(row);
        }
    }

    void finishManifest() {
        if (manifest_ == nullptr) return;
        try {
            manifest_->finish();
        } catch (const Problem& problem) {
            fail(problem);
        }
    }

    void fail(const Problem& problem) {
        console_.report(problem);
        tally_.failed(problem.exit);
    }

    void readArgument(const std::string& argument) {
        argument_ = argument;
        isFolder_ = isFolder(argument);
        if (isFolder_) own_.setFolder(argument);
        const size_t before = number_;
        MessageSources sources = messages_.messagesOf(argument, MessageSources::Folders::kRead);
        while (!isStopped_ && readNext(sources)) continue;
        if (isFolder_ && number_ == before && !isStopped_) {
            fail({ExitCode::kNoMessage, "no-message", argument, "there is no message in it"});
        }
    }

    // False after the last message. What is wrong with one message does not concern the next.
    bool readNext(MessageSources& sources) {
        source_ = MessageSource{};
        try {
            const bool isThere = sources.next(source_);
            for (const FolderWalk::Entry& entry : sources.takeLeftOut()) {
                if (!own_.has(entry.path))
                    console_.warn(entry.path, formatted("left out: {}", entry.leftOut));
            }
            if (!isThere || (isFolder_ && own_.has(source_.path))) return isThere;
            ++number_;
            readMessage();
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (source_.path.empty()) {
                source_ = sources.failure();
                if (isFolder_ && own_.has(source_.path)) return true;
                ++number_;
            }
            failMessage(problem);
        }
        return true;
    }

    void failMessage(const Problem& problem) {
        if (isFolder_ && problem.exit == ExitCode::kNoMessage) {
            console_.warn(source_.name(), "left out: " + problem.text);
            --number_;
            return;
        }
        if (options_.json) {
            console_.print(jsonLine(answerForm(options_), source_.path, nullptr, &problem, source_.index));
        }
        fail(problem);
        isStopped_ = problem.exit == ExitCode::kUsage;  // as it would be for the next
    }

    void readMessage() {
        MessageFile file(source_, messages_.force());
        refuseEncrypted(file, options_.reading);
        Selection selection(request_.numbers, request_.recursive);
        if (!request_.perMessage) {
            extractInto(folder_, file, selection);
            return;
        }
        OutputFolder own(folder_.pathOf(messageFolderName(source_, number_)));
        extractInto(own, file, selection);
        own.removeIfEmpty();
    }

    void extractInto(OutputFolder& folder, MessageFile& file, Selection& selection) {
        Extractor extractor(file, selection, extraction_, folder);
        const MessageTree tree = readFiles(file, extractor, options_);
        const std::vector<const SubFileEntry*> results = resultsOf(tree);
        printWarnings(console_, file.name(), tree);
        if (tree.encrypted) {
            console_.warn(file.name(), tree.protection + "; what is written is still encrypted");
        }
        const bool isGood = reportEntries(file, results, selection);
        std::optional<Problem> first;
        for (const std::string& number : selection.notFound()) {
            const Problem problem = noSubFile(file, argument_, number);
            if (!first) first = problem;
            fail(problem);
        }
        if (isGood && !first) tally_.succeeded();
        if (options_.json) {
            console_.print(jsonLine(answerForm(options_), source_.path, &tree, first ? &*first : nullptr,
                                    source_.index));
        }
        print(results);
    }

    // Whether nothing failed.
    bool reportEntries(const MessageFile& file, const std::vector<const SubFileEntry*>& results,
                       const Selection& selection) {
        bool isGood = true;
        for (const SubFileEntry* entry : results) {
            // Content that is not in the message is a failure only for a user who asked for it.
            const bool harmless = entry->problem && !entry->isInFile && selection.isAll();
            if (harmless) {
                console_.warn(file.name(), entry->problem->text);
            } else if (entry->problem) {
                fail(*entry->problem);
                isGood = false;
                isStopped_ = isStopped_ || entry->problem->code == "cannot-create-folder";
            } else {
                tally_.succeeded();
            }
        }
        return isGood;
    }

    // Of many messages, only those are shown that have something.
    void print(const std::vector<const SubFileEntry*>& results) {
        const bool isOneOfMany = messages_.files().size() > 1 || source_.isOneOfMany;
        ofMany_ = ofMany_ || isOneOfMany;
        report_.count(results);
        if (!printsRows()) return;
        const bool hasRows = std::ranges::any_of(
            results, [](const SubFileEntry* entry) { return entry->outcome != Outcome::kFailed; });
        if (isOneOfMany && hasRows) headings_.print(source_);
        report_.printRows(results);
        if (isOneOfMany) return;
        if (results.empty() && request_.numbers.empty()) console_.print("no attachments\n");
        report_.printSum(false);
    }

    Console& console_;
    const GlobalOptions& options_;
    const ExtractRequest& request_;
    const MessageArguments& messages_;
    ExtractionOptions extraction_;
    OutputFolder folder_;
    OwnFiles own_;
    ExtractReport report_;
    FileHeadings headings_;
    std::unique_ptr<ManifestFile> manifest_;
    Tally tally_;
    std::string argument_;
    MessageSource source_;
    size_t number_ = 0;  // of the message, counted from 1 over all arguments
    bool readsFolders_;
    bool isFolder_ = false;  // the argument that is being read
    bool ofMany_ = false;
    bool isStopped_ = false;  // no further message has a chance
};

class ExtractRun final : public CommandRun {
  public:
    explicit ExtractRun(CLI::App& app) : messages_(app, MessageArguments::Count::kMany) {
        app.add_option("-n,--number", request_.numbers,
                       "sub-file to extract, as \"eml list\" numbers them (repeatable)")
            ->type_name("N")
            ->allow_extra_args(false);
        app.add_flag("-r,--recursive", request_.recursive,
                     "also attachments of embedded messages and winmail.dat, at most 32 deep");
        app.add_option("-o,--output", request_.folder,
                       "folder to write into, created if missing; - is standard output")
            ->type_name("DIR");
        app.add_flag("--per-message", request_.perMessage, "a folder in DIR for each message that has files");
        app.add_option("--on-conflict", request_.onConflict,
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
        check(options);
        const Selection checked(request_.numbers, request_.recursive);
        if (!request_.toStandardOutput()) return ExtractWork(console, options, request_, messages_).run();
        MessageFile file(messages_.message(), messages_.force());
        refuseEncrypted(file, options.reading);
        return writeToStandardOutput(file, messages_.file(), request_, options);
    }

  private:
    void check(const GlobalOptions& options) const {
        kConflictChoices.parse(request_.onConflict);
        if (options.allReadings && !request_.numbers.empty()) {
            throw usageProblem("-n takes the numbers of one reading; leave out --reader=all");
        }
        if (!request_.manifest.empty() && request_.onlyList) {
            throw usageProblem("--manifest lists what is written, and -l writes nothing");
        }
        if (request_.manifest == "-" && options.json) {
            throw usageProblem("--json and --manifest=- both want standard output");
        }
        if (request_.toStandardOutput()) checkStandardOutput(options);
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
    "FILE may also be a folder or an mbox. The files of all messages go into the one folder, or, with\n"
    "--per-message, each into a folder of its own: 0017-letter for the 17th message, letter.eml. One that\n"
    "cannot be read does not stop the others. --manifest lists for each file where it is from and its "
    "SHA-256.\n"
    "--reader=all writes what any of the three readings offers, each content once.\n\n"
    "Examples:\n"
    "  eml extract -o out message.eml\n"
    "  eml extract -l message.eml\n"
    "  eml extract -n 2 -o - message.eml | less\n"
    "  eml extract -o out --per-message --manifest=out.jsonl Archive/\n"
    "  eml extract --reader=all -o out suspicious.eml\n",
    declareExtract,
    {&kConflictChoices, 1},
    true};

}  // namespace emltool
