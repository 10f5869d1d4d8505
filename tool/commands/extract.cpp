// eml extract: attachments to files, or one to standard output.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>

#include "tool/cli/command.h"
#include "tool/commands/each_file.h"
#include "tool/commands/message_arguments.h"
#include "tool/message/extraction.h"
#include "tool/message/json_text.h"
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

std::string plural(size_t count, std::string_view noun) {
    return formatted("{} {}{}", count, noun, count == 1 ? "" : "s");
}

// Every entry that was asked for, in the order of the messages.
void gatherResults(const MessageTree& tree, std::vector<const SubFileEntry*>& results) {
    for (const SubFileEntry& entry : tree.subFiles) {
        if (entry.outcome != Outcome::kNone) results.push_back(&entry);
        if (entry.message != nullptr) gatherResults(*entry.message, results);
    }
}

std::string noteOf(const SubFileEntry& entry) {
    std::vector<std::string> notes;
    if (entry.outcome == Outcome::kSkipped) {
        notes.emplace_back("skipped, the file exists");
    } else if (entry.safeName != entry.name) {
        notes.push_back(formatted("renamed; the message said {}", visible(entry.name)));
    }
    if (entry.path.size() > 1) notes.push_back("sub-file " + dotted(entry.path));
    return joined(notes, "; ");
}

class ExtractRun final : public CommandRun {
  public:
    explicit ExtractRun(CLI::App& app) : messages_(app, MessageArguments::Count::kOne) {
        app.add_option("-n,--number", numbers_,
                       "sub-file to extract, as \"eml list\" numbers them (repeatable)")
            ->type_name("N")
            ->allow_extra_args(false);
        app.add_flag("-r,--recursive", recursive_,
                     "also attachments of embedded messages and winmail.dat, at most 32 deep");
        app.add_option("-o,--output", folder_,
                       "folder to write into, created if missing; - is standard output")
            ->type_name("DIR");
        app.add_option("--on-conflict", onConflict_,
                       "if a file exists: rename, skip, overwrite or fail (the default)")
            ->type_name("WHAT");
        app.add_flag("-l,--list", onlyList_, "show what would be extracted, write nothing");
        messages_.declareForce(app);
    }

    ExitCode run(Console& console, const GlobalOptions& options) override {
        messages_.check();
        ExtractionOptions extraction{folder_ == "-" ? "" : folder_,
                                     static_cast<OnConflict>(kConflictChoices.parse(onConflict_)), onlyList_};
        Selection selection(numbers_, recursive_);
        bool toStandardOutput = folder_ == "-" && !onlyList_;
        if (toStandardOutput && options.json) throw usageProblem("--json and -o - both want standard output");
        if (toStandardOutput && ::isatty(STDOUT_FILENO) != 0) {
            throw usageProblem("standard output is a terminal, which an attachment could drive; redirect it");
        }
        source_.path = messages_.file();
        try {
            source_ = messages_.message();
            MessageFile file(source_, messages_.force());
            if (options.reading == Reading::kContainer && isEncrypted(file)) {
                throw Problem(ExitCode::kEncrypted, "encrypted", file.name(),
                              "encrypted (S/MIME); only the header can be shown");
            }
            if (toStandardOutput) return writeToStandardOutput(file, selection, options.reading);
            Extractor extractor(file, selection, extraction);
            MessageTree tree = readTree(file, extractor, options.reading);
            return report(console, options, file, tree, selection);
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (options.json) {
                console.print(jsonLine(answerForm(options), source_.path, nullptr, &problem, source_.index));
            }
            throw;
        }
    }

  private:
    static bool isEncrypted(MessageFile& file) {
        return (file.message().describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0;
    }

    Problem noSubFile(const MessageFile& file, const std::string& number) const {
        const char* recursive = number.find('.') == std::string::npos ? "" : "-r ";
        return {ExitCode::kNoSubFile, "no-sub-file", file.name(),
                formatted("no sub-file {}; see \"eml list {}{}\"", number, recursive,
                          shellWord(messages_.file()))};
    }

    ExitCode writeToStandardOutput(MessageFile& file, Selection& selection, Reading reading) const {
        ChoiceVisitor choice(selection);
        readTree(file, choice, reading);
        std::vector<std::string> missing = selection.notFound();
        if (!missing.empty()) throw noSubFile(file, missing[0]);
        if (choice.chosen().empty()) {
            throw Problem(ExitCode::kNoSubFile, "no-sub-file", file.name(), "no attachments");
        }
        if (choice.chosen().size() > 1) {
            throw usageProblem(formatted("-o - writes one sub-file, and {} are chosen; choose one with -n",
                                         choice.chosen().size()));
        }
        StandardOutputVisitor writer(file, choice.chosen()[0]);
        readTree(file, writer, reading);
        return ExitCode::kDone;
    }

    ExitCode report(Console& console, const GlobalOptions& options, const MessageFile& file,
                    const MessageTree& tree, const Selection& selection) const {
        Tally tally;
        std::vector<const SubFileEntry*> results;
        gatherResults(tree, results);
        printWarnings(console, file.name(), tree);
        if (tree.encrypted) {
            console.warn(file.name(), tree.protection + "; what is written is still encrypted");
        }
        for (const SubFileEntry* entry : results) {
            // Content that is not in the message is a failure only for a user who asked for it.
            bool harmless = entry->problem && !entry->isInFile && selection.isAll();
            if (harmless) {
                console.warn(file.name(), entry->problem->text);
            } else if (entry->problem) {
                console.report(*entry->problem);
                tally.failed(entry->problem->exit);
            } else {
                tally.succeeded();
            }
        }
        std::optional<Problem> first;
        for (const std::string& number : selection.notFound()) {
            Problem problem = noSubFile(file, number);
            if (!first) first = problem;
            console.report(problem);
            tally.failed(problem.exit);
        }
        if (options.json) {
            console.print(
                jsonLine(answerForm(options), source_.path, &tree, first ? &*first : nullptr, source_.index));
        } else if (!console.quiet()) {
            printResults(console, results);
        }
        return tally.exitCode();
    }

    void printResults(Console& console, const std::vector<const SubFileEntry*>& results) const {
        const Style& style = console.style();
        size_t pathWidth = 0;
        size_t written = 0;
        size_t skipped = 0;
        uint64_t bytes = 0;
        for (const SubFileEntry* entry : results) {
            if (entry->outcome == Outcome::kFailed) continue;
            pathWidth = std::max(pathWidth, displayWidth(visible(entry->filePath)));
            ++(entry->outcome == Outcome::kSkipped ? skipped : written);
            bytes += entry->size.value_or(0);
        }
        for (const SubFileEntry* entry : results) {
            if (entry->outcome == Outcome::kFailed) continue;
            std::string path = visible(entry->filePath);
            uint64_t size = entry->size.value_or(0);
            std::string sizeText = console.verbose() ? formatted("{} B ", size) : humanSize(size);
            std::string note = noteOf(*entry);
            if (entry->outcome == Outcome::kSkipped) sizeText = "-   ";
            std::string row = formatted("{}{:{}}  {:>8}", path, "", pathWidth - displayWidth(path), sizeText);
            if (!note.empty()) row += "  " + style.note("(" + note + ")");
            while (row.ends_with(' ')) row.pop_back();
            console.print(row + "\n");
        }
        if (results.empty() && numbers_.empty()) console.print("no attachments\n");
        if (written + skipped > 0) console.print(style.note(summary(written, skipped, bytes)) + "\n");
    }

    std::string summary(size_t written, size_t skipped, uint64_t bytes) const {
        std::string text;
        if (written > 0) {
            std::string size = humanSize(bytes);
            while (size.ends_with(' ')) size.pop_back();
            bool here = folder_.empty() || folder_ == "." || folder_ == "-";
            text = formatted("{}, {}, {} to {}", plural(written, "attachment"), size,
                             onlyList_ ? "would be written" : "written",
                             here ? "the current folder" : visible(folder_));
        }
        if (skipped > 0) text += formatted("{}{} skipped", text.empty() ? "" : "; ", skipped);
        return text;
    }

    MessageArguments messages_;
    MessageSource source_;
    std::vector<std::string> numbers_;
    std::string folder_;
    std::string onConflict_ = "fail";
    bool recursive_ = false;
    bool onlyList_ = false;
};

std::unique_ptr<CommandRun> declareExtract(CLI::App& app) { return std::make_unique<ExtractRun>(app); }

}  // namespace

const Command kExtractCommand = {
    "extract",
    "write the attachments of a message to files",
    "FILE",
    "Names in messages come from strangers. Each becomes a plain file name in the folder: no path, no\n"
    "control characters, no dots in front; two of the same name become \"name (2).ext\". Every file is\n"
    "written under a temporary name and appears when it is complete. With -r all files go into the one\n"
    "folder. -n 3.1 is sub-file 1 of the message that is sub-file 3.\n\n"
    "Examples:\n"
    "  eml extract -o out message.eml\n"
    "  eml extract -l message.eml\n"
    "  eml extract -n 2 -o - message.eml | less\n",
    declareExtract,
    {&kConflictChoices, 1}};

}  // namespace emltool
