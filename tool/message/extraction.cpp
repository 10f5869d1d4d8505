#include "tool/message/extraction.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "tool/system/pending_folder.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

namespace {

bool beginsWith(const SubFilePath& path, const SubFilePath& beginning) {
    return path.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), path.begin());
}

Problem cannotWrite(const std::string& path, const std::error_code& error, bool removed) {
    return {ExitCode::kOutput, "write-failed", path,
            describe(error) + (removed ? "; partial file removed" : "")};
}

Problem conflict(const std::string& path) {
    return {ExitCode::kOutput, "exists", path,
            "already exists, not overwritten; choose --on-conflict=rename, skip or overwrite"};
}

// Passes everything on to another output, and computes the digest.
class DigestedOutput final : public emlhost::Output {
  public:
    explicit DigestedOutput(emlhost::Output& target)
        : Output(Seeking::kNotAtAll), target_(target), object_(target.object()) {}

    std::string digest() { return hexText(hash_.finish()); }

  private:
    int put(uint64_t, std::span<const uint8_t> bytes) noexcept override {
        object_->write(object_, bytes.data(), static_cast<uint32_t>(bytes.size()));
        hash_.update(bytes);
        return target_.error().value();
    }
    int finish() noexcept override {
        object_->close(object_);
        return target_.error().value();
    }
    int restart() noexcept override {
        hash_.restart();
        return object_->open(object_) != 0 ? 0 : EIO;
    }

    emlhost::Output& target_;
    EmlIOobj* object_;
    Sha256 hash_;
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

void checkInFile(const MessageFile& file, const SubFileEntry& entry) {
    if (entry.isInFile) return;
    throw Problem(ExitCode::kNoSubFile, "not-in-file", file.name(),
                  formatted("sub-file {}: only its name is in the message", dotted(entry.path)));
}

void checkExtracted(const MessageFile& file, const SubFileEntry& entry,
                    const emlhost::Extraction& extraction) {
    if (extraction.status == EML_NO_MEMORY) throw outOfMemory(file.name());
    if (extraction.status == EML_OK) return;
    throw Problem(ExitCode::kInput, "cannot-extract", file.name(),
                  formatted("sub-file {}: cannot be read (result {} of the reader)", dotted(entry.path),
                            extraction.status));
}

void Extractor::extract(SubFileContent& content, SubFileEntry& entry) {
    checkInFile(file_, entry);
    entry.safeName = folder_.names().take(safeName(entry.name, dotted(entry.path)));
    entry.filePath = folder_.pathOf(entry.safeName);
    if (options_.onlyPlan) {
        entry.size = decodedSize(content);
        entry.outcome = Outcome::kPlanned;
        return;
    }
    folder_.prepare();
    // The commit checks again; checking here saves the work.
    bool keeps = options_.onConflict == OnConflict::kFail || options_.onConflict == OnConflict::kSkip;
    if (keeps && folder_.has(entry.safeName)) {
        if (options_.onConflict == OnConflict::kFail) throw conflict(entry.filePath);
        entry.outcome = Outcome::kSkipped;
        return;
    }
    std::error_code error;
    const std::unique_ptr<emlhost::FileOutput> output = folder_.files().create(error);
    if (output == nullptr) {
        throw cannotWrite(folder_.path().empty() ? entry.filePath : folder_.path(), error, false);
    }
    write(content, *output, entry);
    commit(*output, entry);
    if (entry.outcome == Outcome::kWritten && options_.onWritten) options_.onWritten(entry);
}

void Extractor::write(SubFileContent& content, emlhost::Output& output, SubFileEntry& entry) {
    std::optional<DigestedOutput> digested;
    if (options_.digest) digested.emplace(output);
    emlhost::Extraction extraction = content.extract(digested ? *digested : output);
    file_.checkReads();
    if (output.error()) throw cannotWrite(entry.filePath, output.error(), true);
    checkExtracted(file_, entry, extraction);
    entry.size = output.size();
    if (digested) entry.sha256 = digested->digest();
}

void Extractor::commit(emlhost::FileOutput& output, SubFileEntry& entry) {
    bool overwrite = options_.onConflict == OnConflict::kOverwrite;
    auto policy = overwrite ? emlhost::CommitPolicy::kReplace : emlhost::CommitPolicy::kKeepExisting;
    std::string wanted = entry.safeName;
    for (;;) {
        std::error_code error = output.commit(entry.safeName, policy);
        if (!error) {
            entry.outcome = Outcome::kWritten;
            return;
        }
        if (error != std::errc::file_exists || overwrite) {
            throw cannotWrite(entry.filePath, error, error != std::errc::is_a_directory);
        }
        if (options_.onConflict != OnConflict::kRename) {
            // As if the check before the writing had found what has the name.
            entry.size.reset();
            entry.sha256.clear();
        }
        if (options_.onConflict == OnConflict::kFail) throw conflict(entry.filePath);
        if (options_.onConflict == OnConflict::kSkip) {
            entry.outcome = Outcome::kSkipped;
            return;
        }
        entry.safeName = folder_.names().take(wanted);
        entry.filePath = folder_.pathOf(entry.safeName);
    }
}

}  // namespace emltool
