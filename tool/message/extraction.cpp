#include "tool/message/extraction.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "tool/system/ending_signals.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

bool beginsWith(const SubFilePath& path, const SubFilePath& beginning) {
    return path.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), path.begin());
}

// Whether anything has this name, even a dangling link.
bool exists(const std::string& path) {
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0;
}

Problem cannotWrite(const std::string& path, const std::error_code& error, bool removed) {
    return {ExitCode::kOutput, "write-failed", path,
            describe(error) + (removed ? "; partial file removed" : "")};
}

Problem conflict(const std::string& path) {
    return {ExitCode::kOutput, "exists", path,
            "already exists, not overwritten; choose --on-conflict=rename, skip or overwrite"};
}

// A file under its temporary name, which a signal removes.
class PendingFile {
  public:
    explicit PendingFile(const std::string& folder) {
        SignalsHeldBack heldBack;
        output_ = emlhost::FileOutput::create(folder, error_);
        if (output_ != nullptr) removeOnSignal(output_->temporaryPath());
    }
    ~PendingFile() {
        SignalsHeldBack heldBack;
        output_.reset();
        removeOnSignal("");
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    emlhost::FileOutput* output() { return output_.get(); }
    const std::error_code& error() const { return error_; }

  private:
    std::error_code error_;
    std::unique_ptr<emlhost::FileOutput> output_;
};

}  // namespace

Selection::Selection(const std::vector<std::string>& numbers, bool recursive) : recursive_(recursive) {
    for (const std::string& text : numbers) {
        std::optional<SubFilePath> path = parseSubFilePath(text);
        if (!path) throw usageProblem(formatted("-n {}: not a number like 2 or 3.1", text));
        if (path->back() == 0) {
            throw usageProblem(
                formatted("-n {}: that is the message itself; extract writes its attachments", text));
        }
        choices_.push_back({*path, false});
    }
}

bool Selection::wants(const SubFilePath& path) {
    bool wanted = choices_.empty();
    for (Choice& choice : choices_) {
        if (choice.path == path) {
            choice.found = true;
            wanted = true;
        }
        wanted = wanted || (recursive_ && beginsWith(path, choice.path));
    }
    return wanted;
}

bool Selection::reachesInto(const SubFilePath& path) const {
    if (choices_.empty()) return recursive_;
    return std::any_of(choices_.begin(), choices_.end(), [&](const Choice& choice) {
        bool below = choice.path.size() > path.size() && beginsWith(choice.path, path);
        return below || (recursive_ && beginsWith(path, choice.path));
    });
}

std::vector<std::string> Selection::notFound() const {
    std::vector<std::string> missing;
    for (const Choice& choice : choices_) {
        if (!choice.found) missing.push_back(dotted(choice.path));
    }
    return missing;
}

Extractor::Extractor(MessageFile& file, Selection& selection, ExtractionOptions options)
    : file_(file), selection_(selection), options_(std::move(options)) {
    while (options_.folder.size() > 1 && options_.folder.ends_with('/')) options_.folder.pop_back();
    if (options_.folder == ".") options_.folder.clear();
}

void Extractor::visit(SubFileContent& content, SubFileEntry& entry) {
    if (!selection_.wants(entry.path)) return;
    try {
        extract(content, entry);
    } catch (const Problem& problem) {
        if (problem.exit == ExitCode::kInternal) throw;
        entry.outcome = Outcome::kFailed;
        entry.problem = problem;
    }
}

void Extractor::extract(SubFileContent& content, SubFileEntry& entry) {
    if (!entry.isInFile) {
        std::string text = formatted("sub-file {}: only its name is in the message", dotted(entry.path));
        throw Problem(ExitCode::kNoSubFile, "not-in-file", file_.name(), text);
    }
    entry.safeName = names_.take(safeName(entry.name, dotted(entry.path)));
    entry.filePath = pathOf(entry.safeName);
    if (options_.onlyPlan) {
        entry.size = decodedSize(content);
        entry.outcome = Outcome::kPlanned;
        return;
    }
    prepareFolder();
    // The commit checks again; checking here saves the work.
    bool keeps = options_.onConflict == OnConflict::kFail || options_.onConflict == OnConflict::kSkip;
    if (keeps && exists(entry.filePath)) {
        if (options_.onConflict == OnConflict::kFail) throw conflict(entry.filePath);
        entry.outcome = Outcome::kSkipped;
        return;
    }
    PendingFile pending(options_.folder);
    if (pending.output() == nullptr) {
        throw cannotWrite(options_.folder.empty() ? entry.filePath : options_.folder, pending.error(), false);
    }
    emlhost::FileOutput& output = *pending.output();
    emlhost::Extraction extraction = content.extract(output);
    file_.checkReads();
    if (output.error()) throw cannotWrite(entry.filePath, output.error(), true);
    if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file_.name());
    if (extraction.status != EML_OK) {
        throw Problem(ExitCode::kInput, "cannot-extract", file_.name(),
                      formatted("sub-file {}: cannot be read (result {} of the reader)", dotted(entry.path),
                                extraction.status));
    }
    entry.size = output.size();
    commit(output, entry);
}

void Extractor::commit(emlhost::FileOutput& output, SubFileEntry& entry) {
    bool overwrite = options_.onConflict == OnConflict::kOverwrite;
    auto policy = overwrite ? emlhost::CommitPolicy::kReplace : emlhost::CommitPolicy::kKeepExisting;
    std::string wanted = entry.safeName;
    for (;;) {
        SignalsHeldBack heldBack;
        std::error_code error = output.commit(entry.safeName, policy);
        if (!error) {
            removeOnSignal("");
            entry.outcome = Outcome::kWritten;
            return;
        }
        if (error != std::errc::file_exists || overwrite) {
            throw cannotWrite(entry.filePath, error, error != std::errc::is_a_directory);
        }
        if (options_.onConflict == OnConflict::kFail) throw conflict(entry.filePath);
        if (options_.onConflict == OnConflict::kSkip) {
            entry.outcome = Outcome::kSkipped;
            return;
        }
        entry.safeName = names_.take(wanted);
        entry.filePath = pathOf(entry.safeName);
    }
}

void Extractor::prepareFolder() {
    if (folderReady_ || options_.folder.empty()) return;
    std::error_code error;
    std::filesystem::create_directories(options_.folder, error);
    if (error) {
        throw Problem(ExitCode::kOutput, "cannot-create-folder", options_.folder,
                      "the folder cannot be created: " + describe(error));
    }
    folderReady_ = true;
}

std::string Extractor::pathOf(const std::string& name) const {
    if (options_.folder.empty()) return name;
    return options_.folder + (options_.folder == "/" ? "" : "/") + name;
}

}  // namespace emltool
