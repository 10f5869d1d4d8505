#include "tool/batch/row_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "standalone/unnamed_file.h"
#include "tool/batch/locked_output.h"
#include "tool/batch/row_lines.h"
#include "tool/batch/thread_rows.h"
#include "tool/system/pending_folder.h"
#include "tool/system/temporary_files.h"
#include "tool/system/write_pieces.h"
#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr const char* kResumed = "; the rows so far are whole, --resume goes on from there";

Problem outputProblem(const std::string& path, int failure, const char* advice = "") {
    return {ExitCode::kOutput, "write-failed", path, describe({failure, std::system_category()}) + advice};
}

// What could not be written to the end is left in `lines`. Returns 0 or an errno.
int writeLines(int descriptor, std::string_view& lines) {
    while (!lines.empty()) {
        const ssize_t written = ::write(descriptor, lines.data(), lines.size());
        if (written == 0) return EIO;  // there is no other cause, and repeating might never end
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) lines.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

void writeToStandardOutput(std::string_view lines) {
    const int failure = writeLines(STDOUT_FILENO, lines);
    if (failure == EPIPE) throw BrokenPipe{};
    if (failure != 0) {
        throw StandardOutputProblem(ExitCode::kOutput, "write-failed", "standard output",
                                    describe({failure, std::system_category()}));
    }
}

emlhost::UniqueDescriptor unnamedFile() {
    emlhost::UniqueDescriptor file = emlhost::createUnnamedFile();
    if (!file.valid()) throw temporaryFileProblem({errno, std::system_category()});
    return file;
}

}  // namespace

RowOutput::RowOutput(Form form, FinishedRows& finished) : path_(std::move(form.path)) {
    if (!path_.empty()) file_ = openLockedOutput(path_, form.resume, O_APPEND);
    noteFile();
    if (path_.empty() && form.isRewritten) file_ = unnamedFile();
    if (!form.resume) return;
    length_ = form.read(file_.get(), path_, finished);
    if (::ftruncate(file_.get(), static_cast<off_t>(length_)) != 0) throw outputProblem(path_, errno);
}

// Standard output may be a file too.
void RowOutput::noteFile() {
    struct stat found {};
    isFile_ = ::fstat(descriptor(), &found) == 0 && S_ISREG(found.st_mode);
    device_ = found.st_dev;
    inode_ = found.st_ino;
}

int RowOutput::descriptor() const { return file_.valid() ? file_.get() : STDOUT_FILENO; }

void RowOutput::write(std::string_view lines) {
    if (!file_.valid()) {
        writeToStandardOutput(lines);
        return;
    }
    std::string_view rest = lines;
    if (const int failure = writeLines(file_.get(), rest)) {
        if (path_.empty()) throw temporaryFileProblem({failure, std::system_category()});
        cutAfterWholeLine(lines.substr(0, lines.size() - rest.size()));
        throw outputProblem(path_, failure, kResumed);
    }
    length_ += lines.size();
}

void RowOutput::cutAfterWholeLine(std::string_view written) {
    size_t whole = written.rfind('\n') + 1;  // 0 if there is none
    // If this fails too, --resume cuts the file.
    [[maybe_unused]] int result = ::ftruncate(file_.get(), static_cast<off_t>(length_ + whole));
}

bool RowOutput::forEachRow(const Take& take) const {
    RowLines lines(file_.get(), path_);
    for (std::string_view row; lines.next(row);) {
        if (!take(row)) return false;
    }
    return true;
}

bool RowOutput::addThreads(const std::function<bool()>& goesOn) {
    ThreadRows threads;
    const bool isRead = forEachRow([&](std::string_view row) {
        threads.add(row);
        return goesOn();
    });
    if (!isRead) return false;
    threads.find();
    return rewrite([&](std::string_view row, std::string& changed) {
        threads.complete(row, changed);
        return goesOn();
    });
}

bool RowOutput::rewrite(const Change& change) {
    return path_.empty() ? rewriteInto(writeToStandardOutput, change) : rewriteFile(change);
}

bool RowOutput::rewriteInto(const Write& write, const Change& change) const {
    constexpr size_t kPiece = size_t{1} << 20;
    std::string lines;
    const bool isWhole = forEachRow([&](std::string_view row) {
        if (!change(row, lines)) return false;
        if (lines.size() < kPiece) return true;
        write(lines);
        lines.clear();
        return true;
    });
    if (isWhole && !lines.empty()) write(lines);
    return isWhole;
}

// The file may be named by a link, which stays.
bool RowOutput::rewriteFile(const Change& change) const {
    namespace fs = std::filesystem;
    const auto check = [this](const std::error_code& error) {
        if (error) throw outputProblem(path_, error.value(), kResumed);
    };
    std::error_code error;
    const fs::path target = fs::canonical(path_, error);
    if (error) throw outputProblem(path_, error.value());
    struct stat found {};
    if (::fstat(file_.get(), &found) != 0) throw outputProblem(path_, errno, kResumed);
    PendingFolder folder(target.parent_path().string());
    const auto output = folder.create(error, found.st_mode & 0777);
    if (output == nullptr) check(error);
    EmlIOobj* const object = output->object();
    object->open(object);
    const auto write = [&](std::string_view lines) {
        writePieces(*output, {reinterpret_cast<const uint8_t*>(lines.data()), lines.size()});
        check(output->error());
    };
    if (!rewriteInto(write, change)) return false;
    object->close(object);
    check(output->error());
    check(output->commit(target.filename().string(), emlhost::CommitPolicy::kReplace));
    return true;
}

}  // namespace emltool
