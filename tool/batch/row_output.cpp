#include "tool/batch/row_output.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

Problem outputProblem(const std::string& path, int failure, const char* advice = "") {
    return {ExitCode::kOutput, "write-failed", path, describe({failure, std::system_category()}) + advice};
}

bool isDirectory(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

}  // namespace

RowOutput::RowOutput(std::string path, bool resume, FinishedRows& finished) : path_(std::move(path)) {
    if (!path_.empty()) create(resume);
    noteFile();
    if (!resume) return;
    length_ = readFinishedRows(file_.get(), path_, finished);
    if (::ftruncate(file_.get(), static_cast<off_t>(length_)) != 0) throw outputProblem(path_, errno);
}

void RowOutput::create(bool resume) {
    int flags = O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | (resume ? 0 : O_EXCL);
    file_ = emlhost::UniqueDescriptor(::open(path_.c_str(), flags, 0644));
    int failure = errno;
    if (!file_.valid() && isDirectory(path_)) {
        throw Problem(ExitCode::kOutput, "is-a-directory", path_, "is a directory; name a file in it");
    }
    if (!file_.valid() && failure == EEXIST) {
        throw Problem(ExitCode::kOutput, "exists", path_,
                      "already exists, not overwritten; --resume continues it, or choose another file");
    }
    struct stat found {};
    if (!file_.valid()) throw outputProblem(path_, failure);
    if (::fstat(file_.get(), &found) != 0) throw outputProblem(path_, errno);
    if (!S_ISREG(found.st_mode)) {
        throw Problem(ExitCode::kOutput, "no-file", path_,
                      "is no regular file; redirect standard output to it");
    }
    // An engine may restart a task while the first attempt is still running.
    if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        throw Problem(ExitCode::kOutput, "in-use", path_, "another eml is writing it");
    }
}

// Standard output may be a file too.
void RowOutput::noteFile() {
    struct stat found {};
    isFile_ = ::fstat(descriptor(), &found) == 0 && S_ISREG(found.st_mode);
    device_ = found.st_dev;
    inode_ = found.st_ino;
}

int RowOutput::descriptor() const { return path_.empty() ? STDOUT_FILENO : file_.get(); }

void RowOutput::write(std::string_view lines) {
    std::string_view rest = lines;
    while (!rest.empty()) {
        ssize_t written = ::write(descriptor(), rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<size_t>(written));
            continue;
        }
        if (errno == EINTR) continue;
        int failure = errno;
        if (path_.empty() && failure == EPIPE) throw BrokenPipe{};
        if (path_.empty()) {
            throw StandardOutputProblem(ExitCode::kOutput, "write-failed", "standard output",
                                        describe({failure, std::system_category()}));
        }
        cutAfterWholeLine(lines.substr(0, lines.size() - rest.size()));
        throw outputProblem(path_, failure, "; the rows so far are whole, --resume goes on from there");
    }
    length_ += lines.size();
}

void RowOutput::cutAfterWholeLine(std::string_view written) {
    size_t whole = written.rfind('\n') + 1;  // 0 if there is none
    // If this fails too, --resume cuts the file.
    [[maybe_unused]] int result = ::ftruncate(file_.get(), static_cast<off_t>(length_ + whole));
}

}  // namespace emltool
