#include "tool/batch/database_output.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "tool/batch/thread_rows.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

// A commit costs more than a row, and what is not committed is read again after a crash.
constexpr std::chrono::seconds kBetweenCommits{1};

Problem openProblem(const std::string& path, int failure) {
    if (failure == EEXIST) {
        return {ExitCode::kOutput, "exists", path,
                "already exists, not overwritten; --resume continues it, or choose another file"};
    }
    if (failure == EISDIR)
        return {ExitCode::kOutput, "is-a-directory", path, "is a directory; name a file in it"};
    return {ExitCode::kOutput, "write-failed", path, describe({failure, std::system_category()})};
}

RowFacts rowFacts(MailDatabase::ThreadFacts facts) {
    RowFacts result;
    result.path = std::move(facts.place.path);
    result.index = facts.place.index;
    result.threadFields = {std::move(facts.messageId), std::move(facts.inReplyTo),
                           std::move(facts.references)};
    result.subject = std::move(facts.subject);
    return result;
}

}  // namespace

bool isDatabasePath(const std::string& path) {
    const std::filesystem::path extension = std::filesystem::path(path).extension();
    return extension == ".sqlite" || extension == ".sqlite3" || extension == ".db";
}

DatabaseOutput::DatabaseOutput(const std::string& path, bool resume, FinishedRows& finished) {
    if (const std::string lack = databaseLack(); !lack.empty())
        throw usageProblem("-o " + path + ": a database needs SQLite: " + lack);
    lock(path, resume);
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::current_path(error);
    database_ = std::make_unique<MailDatabase>(path, folder.string());
    noteFiles(path);
    database_->forEachPlace([&](const StoredPlace& place) { finished.add(place.path, place.index); });
    finished.seal();
    committed_ = std::chrono::steady_clock::now();
}

// Between two transactions another writer could come.
void DatabaseOutput::lock(const std::string& path, bool resume) {
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | (resume ? 0 : O_EXCL);
    lock_ = emlhost::UniqueDescriptor(::open(path.c_str(), flags, 0644));
    if (!lock_.valid()) throw openProblem(path, errno);
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        throw Problem(ExitCode::kOutput, "in-use", path, "another eml is writing it");
}

void DatabaseOutput::noteFiles(const std::string& path) {
    for (const char* const suffix : {"", "-wal", "-shm"}) {
        struct stat found {};
        if (::stat((path + suffix).c_str(), &found) == 0) files_.push_back({found.st_dev, found.st_ino});
    }
}

bool DatabaseOutput::isSameFile(const struct stat& file) const {
    return std::any_of(files_.begin(), files_.end(), [&](const Identity& each) {
        return each.device == file.st_dev && each.inode == file.st_ino;
    });
}

void DatabaseOutput::write(std::string_view lines) {
    while (!lines.empty()) {
        const size_t end = std::min(lines.find('\n'), lines.size());
        if (end != 0) database_->add(lines.substr(0, end));
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - committed_ < kBetweenCommits) return;
    database_->commit();
    committed_ = std::chrono::steady_clock::now();
}

// In one transaction.
bool DatabaseOutput::addThreads(const std::function<bool()>& goesOn) {
    database_->commit();
    ThreadRows threads;
    std::vector<int64_t> ids;
    const bool isRead =
        database_->forEachThreadFacts([&](int64_t id, const MailDatabase::ThreadFacts& facts) {
            threads.add(rowFacts(facts));
            ids.push_back(id);
            return goesOn();
        });
    if (!isRead) return false;
    threads.find();
    for (const int64_t id : ids) {
        database_->setThread(id, threads.next());
        if (!goesOn()) return false;
    }
    return true;
}

}  // namespace emltool
