#include "tool/system/pending_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "standalone/write_all.h"
#include "tool/system/ending_signals.h"

namespace emltool {

namespace {

bool isPlainName(const std::string& name) {
    if (name.empty() || name == "." || name == "..") return false;
    return name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

// Renames within `folder` unless `to` exists. Returns 0 or an errno.
int renameToFreeName(int folder, const char* from, const char* to) {
    if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // The file system cannot do it in one step: a second name that must be new, then without the first.
    if (::linkat(folder, from, folder, to, 0) != 0) return errno;
    ::unlinkat(folder, from, 0);
    return 0;
}

}  // namespace

PendingFolder::PendingFolder(const std::string& path) : path_(path.empty() ? "." : path) {}

PendingFolder::~PendingFolder() { stopRemoving(temporaryPath_); }

// Returns 0 or an errno.
int PendingFolder::open() {
    if (folder_.valid()) return 0;
    folder_ = emlhost::UniqueDescriptor(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder_.valid() ? 0 : errno;
}

bool PendingFolder::has(const std::string& name) {
    struct stat found {};
    return open() == 0 && ::fstatat(folder_.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
}

void PendingFolder::chooseName() {
    uint64_t number = 0;
    if (::getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
        number = static_cast<uint64_t>(::getpid());
    }
    char name[32];
    std::snprintf(name, sizeof name, ".eml-%016llx.part", static_cast<unsigned long long>(number));
    temporaryName_ = name;
    temporaryPath_ = path_ + "/" + name;
}

// The name is free again once a file has got its own, so that the next file can have it. Chance is not trusted with
// that: each file is created exclusively. The signal handler knows the name before there is a file and until there is
// none, so no signal needs to be held back.
int PendingFolder::create(emlhost::UniqueDescriptor& file, mode_t mode) {
    if (int failure = open()) return failure;
    if (temporaryName_.empty()) chooseName();
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        removeOnSignal(temporaryPath_);
        file =
            emlhost::UniqueDescriptor(::openat(folder_.get(), temporaryName_.c_str(),
                                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (file.valid()) return 0;
        const int failure = errno;
        stopRemoving(temporaryPath_);  // what has the name is not ours
        if (failure != EEXIST) return failure;
        chooseName();
    }
    return EEXIST;
}

PendingFile::PendingFile(PendingFolder& folder, mode_t mode) : folder_(folder) {
    emlhost::UniqueDescriptor file;
    if (int failure = folder.create(file, mode)) {
        error_.assign(failure, std::system_category());
    } else {
        output_.emplace(std::move(file));
    }
}

PendingFile::~PendingFile() {
    if (output_ && !isCommitted_) ::unlinkat(folder_.folder_.get(), folder_.temporaryName_.c_str(), 0);
}

std::error_code PendingFile::commit(const std::string& name, emlhost::CommitPolicy policy) {
    if (!output_ || isCommitted_ || !isPlainName(name)) {
        return std::make_error_code(std::errc::invalid_argument);
    }
    if (std::error_code error = output_->end()) return error;
    const char* from = folder_.temporaryName_.c_str();
    const int folder = folder_.folder_.get();
    int failure = 0;
    if (policy == emlhost::CommitPolicy::kKeepExisting) {
        failure = renameToFreeName(folder, from, name.c_str());
    } else if (::renameat(folder, from, folder, name.c_str()) != 0) {
        failure = errno;
    }
    if (failure != 0) return {failure, std::system_category()};
    isCommitted_ = true;
    return {};
}

std::error_code PendingFile::FileOutput::end() {
    if (!error()) fail(finish());
    fail(file_.close());
    return error();
}

int PendingFile::FileOutput::drain(uint64_t position, std::span<const uint8_t> bytes) noexcept {
    isEmpty_ = false;
    return emlhost::writeAllAt(file_.get(), position, bytes);
}

int PendingFile::FileOutput::restart() noexcept {
    BufferedOutput::restart();
    if (isEmpty_) return 0;
    return ::ftruncate(file_.get(), 0) == 0 ? 0 : errno;
}

}  // namespace emltool
