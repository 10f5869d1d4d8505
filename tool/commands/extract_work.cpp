#include "tool/commands/extract_work.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "tool/archive/folder_walk.h"
#include "tool/commands/each_file.h"
#include "tool/commands/extract_report.h"
#include "tool/commands/own_files.h"
#include "tool/commands/store_run.h"
#include "tool/message/json_text.h"
#include "tool/message/manifest.h"
#include "tool/message/union_tree.h"
#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

bool isEncrypted(MessageFile& file) {
    return (file.message().describe(0).flags & EML_SUB_FILE_ENCRYPTED) != 0;
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
          report_(console, request, options.allReadings),
          headings_(console, messages.files().size()),
          readsFolders_(std::ranges::any_of(messages.files(), isFolder)) {
        extraction_.onConflict = request.onConflict;
        extraction_.onlyPlan = request.onlyList;
        extraction_.digest = !request.manifest.empty();
        extraction_.onWritten = [this](const SubFileEntry& entry) { note(entry); };
        if (!request.store.empty()) beginStore();
        if (request.manifest.empty() || request.manifest == "-") return;
        if (store_ == nullptr) beginManifest();
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
        if (store_ != nullptr) report_.addDone(store_->done());
        if ((ofMany_ || store_ != nullptr) && printsRows()) report_.printSum(true);
        return isUnfinished_ ? ExitCode::kOutput : tally_.exitCode();
    }

  private:
    // Files that are being written must not be among those that are read.
    void beginStore() {
        for (const std::string& argument : messages_.files()) {
            if (isFolder(argument) && own_.isOutput(argument))
                throw usageProblem(formatted("{} is the store, or in it; read another folder", argument));
        }
        store_ = std::make_unique<StoreRun>(console_, options_, request_);
    }

    void beginManifest() {
        manifest_ = std::make_unique<ManifestFile>(request_.manifest,
                                                   extraction_.onConflict == OnConflict::kOverwrite);
    }

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
        while (!isStopped_ && readNext(sources)) {
            if (store_ != nullptr) store_->endIfAsked();
        }
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
            if (store_ == nullptr) {
                readMessage();
            } else if (!store_->takeDone(source_)) {
                storeMessage();
            }
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (source_.path.empty()) {
                source_ = sources.failure();
                if (isFolder_ && own_.has(source_.path)) return true;
                ++number_;
                if (store_ != nullptr && store_->takeDone(source_)) return true;
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
            console_.print(jsonLine(answerForm(options_), answerSource(source_), nullptr, &problem));
        }
        fail(problem);
        isStopped_ = problem.exit == ExitCode::kUsage;  // as it would be for the next
        if (store_ == nullptr || isStopped_) return;
        isStopped_ = isUnfinished_ = problem.exit == ExitCode::kOutput;
        if (!isStopped_) store_->end(source_, &problem);
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

    void storeMessage() {
        MessageFile file(source_, messages_.force());
        refuseEncrypted(file, options_.reading);
        Selection selection(request_.numbers, request_.recursive);
        const MessageTree tree = store_->read(file, selection, source_);
        const std::optional<Problem> problem = reportTree(file, tree, selection);
        store_->end(source_, problem ? &*problem : nullptr);
    }

    void extractInto(OutputFolder& folder, MessageFile& file, Selection& selection) {
        Extractor extractor(file, selection, extraction_, folder);
        const MessageTree tree = readFiles(file, extractor, options_);
        reportTree(file, tree, selection);
    }

    // Returns the first problem.
    std::optional<Problem> reportTree(const MessageFile& file, const MessageTree& tree,
                                      const Selection& selection) {
        const std::vector<const SubFileEntry*> results = resultsOf(tree);
        printWarnings(console_, file.name(), tree);
        if (tree.encrypted) {
            console_.warn(file.name(), tree.protection + "; what is written is still encrypted");
        }
        const std::optional<Problem> ofEntries = reportEntries(file, results, selection);
        std::optional<Problem> first;
        for (const std::string& number : selection.notFound()) {
            const Problem problem = noSubFile(file, argument_, number);
            if (!first) first = problem;
            fail(problem);
        }
        if (!ofEntries && !first) tally_.succeeded();
        if (options_.json) {
            console_.print(
                jsonLine(answerForm(options_), answerSource(source_), &tree, first ? &*first : nullptr));
        }
        print(results);
        return first ? first : ofEntries;
    }

    // Returns the first problem.
    std::optional<Problem> reportEntries(const MessageFile& file,
                                         const std::vector<const SubFileEntry*>& results,
                                         const Selection& selection) {
        std::optional<Problem> first;
        for (const SubFileEntry* entry : results) {
            // Content that is not in the message is a failure only for a user who asked for it.
            const bool harmless = entry->problem && !entry->isInFile && selection.isAll();
            if (harmless) {
                console_.warn(file.name(), entry->problem->text);
            } else if (entry->problem) {
                fail(*entry->problem);
                if (!first) first = entry->problem;
                isStopped_ = isStopped_ || entry->problem->code == "cannot-create-folder";
            } else {
                tally_.succeeded();
            }
        }
        return first;
    }

    // Of many messages, only those are shown that have something.
    void print(const std::vector<const SubFileEntry*>& results) {
        const bool isOneOfMany = messages_.files().size() > 1 || source_.isOneOfMany;
        ofMany_ = ofMany_ || isOneOfMany;
        report_.count(results);
        if (!printsRows() || store_ != nullptr) return;
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
    std::unique_ptr<StoreRun> store_;
    Tally tally_;
    std::string argument_;
    MessageSource source_;
    size_t number_ = 0;  // of the message, counted from 1 over all arguments
    bool readsFolders_;
    bool isFolder_ = false;  // the argument that is being read
    bool ofMany_ = false;
    bool isStopped_ = false;     // no further message has a chance
    bool isUnfinished_ = false;  // what was read until then can be continued
};

}  // namespace

MessageTree readFiles(MessageFile& file, AttachmentVisitor& visitor, const GlobalOptions& options) {
    return options.allReadings ? readUnionTree(file, visitor) : readTree(file, visitor, options.reading);
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

ExitCode extractToFiles(Console& console, const GlobalOptions& options, const ExtractRequest& request,
                        const MessageArguments& messages) {
    return ExtractWork(console, options, request, messages).run();
}

}  // namespace emltool
