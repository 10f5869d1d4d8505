#include "tool/batch/locked_output.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "tool/terminal/problem.h"

namespace emltool {

namespace {

Problem outputProblem(const std::string& path, const char* code, std::string text) {
    return {ExitCode::kOutput, code, path, std::move(text)};
}

Problem openProblem(const std::string& path, int failure) {
    struct stat found {};
    if (::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode))
        return outputProblem(path, "is-a-directory", "is a directory; name a file in it");
    if (failure == EEXIST) {
        return outputProblem(
            path, "exists", "already exists, not overwritten; --resume continues it, or choose another file");
    }
    return outputProblem(path, "write-failed", describe({failure, std::system_category()}));
}

// An engine may restart a task while the first attempt is still running, which may put another file in the place of
// this one.
bool isTaken(const std::string& path, int file, const struct stat& opened) {
    if (::flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return true;
    struct stat named {};
    return ::stat(path.c_str(), &named) != 0 || named.st_ino != opened.st_ino ||
           named.st_dev != opened.st_dev;
}

}  // namespace

emlhost::UniqueDescriptor openLockedOutput(const std::string& path, bool resume, int flags) {
    flags |= O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY | (resume ? 0 : O_EXCL);
    emlhost::UniqueDescriptor file(::open(path.c_str(), flags, 0644));
    if (!file.valid()) throw openProblem(path, errno);
    struct stat opened {};
    if (::fstat(file.get(), &opened) != 0) throw openProblem(path, errno);
    if (!S_ISREG(opened.st_mode))
        throw outputProblem(path, "no-file", "is no regular file; redirect standard output to it");
    if (isTaken(path, file.get(), opened)) throw outputProblem(path, "in-use", "another eml is writing it");
    return file;
}

}  // namespace emltool
