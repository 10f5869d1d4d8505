#include "tool/batch/database_output.h"

#include <algorithm>
#include <filesystem>

#include "tool/batch/locked_output.h"
#include "tool/batch/thread_rows.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

// A commit costs more than a row, and what is not committed is read again after a crash.
constexpr std::chrono::seconds kBetweenCommits{1};

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
    lock_ = openLockedOutput(path, resume, 0);
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::current_path(error);
    database_ = std::make_unique<MailDatabase>(path, folder.string());
    noteFiles(path);
    database_->forEachPlace([&](const StoredPlace& place) { finished.add(place.path, place.index); });
    finished.seal();
    committed_ = std::chrono::steady_clock::now();
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
