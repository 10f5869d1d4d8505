#include "tool/system/pending_folder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "tool/system/ending_signals.h"

namespace emltool {

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
    temporaryName_ = emlhost::FileOutput::randomName();
    temporaryPath_ = path_ + "/" + temporaryName_;
}

// The name is free again once a file has got its own, so that the next file can have it. The signal handler
// knows the name before there is a file and until there is none, so no signal needs to be held back.
std::unique_ptr<emlhost::FileOutput> PendingFolder::create(std::error_code& error, mode_t mode) {
    error.assign(open(), std::system_category());
    if (error) return nullptr;
    if (temporaryName_.empty()) chooseName();
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        removeOnSignal(temporaryPath_);
        auto output = emlhost::FileOutput::createIn(folder_.get(), temporaryName_, error, mode);
        if (output != nullptr) return output;
        stopRemoving(temporaryPath_);  // what has the name is not ours
        if (error != std::errc::file_exists) return nullptr;
        chooseName();
    }
    return nullptr;
}

}  // namespace emltool
