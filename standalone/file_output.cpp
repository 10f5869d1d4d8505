#include "standalone/file_output.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "standalone/write_all.h"

namespace emlhost {

namespace {

bool isPlainName(const std::string& name) {
    if (name.empty() || name == "." || name == "..") return false;
    return name.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

// Renames within `directory` unless `to` exists. Returns 0 or an errno.
int renameToFreeName(int directory, const char* from, const char* to) {
    if (::renameat2(directory, from, directory, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // The file system cannot do it in one step: a second name that must be new, then without the first.
    if (::linkat(directory, from, directory, to, 0) != 0) return errno;
    ::unlinkat(directory, from, 0);
    return 0;
}

}  // namespace

// Chance is not trusted with it: the file is created exclusively.
std::string FileOutput::randomName() {
    uint64_t number = 0;
    if (::getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
        number = static_cast<uint64_t>(::getpid());
    }
    char name[32];
    std::snprintf(name, sizeof name, ".eml-%016llx.part", static_cast<unsigned long long>(number));
    return name;
}

std::unique_ptr<FileOutput> FileOutput::createIn(int directory, const std::string& temporaryName,
                                                 std::error_code& error, mode_t mode) {
    error.clear();
    UniqueDescriptor file(::openat(directory, temporaryName.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (file.valid())
        return std::unique_ptr<FileOutput>(new FileOutput(directory, std::move(file), temporaryName));
    error.assign(errno, std::system_category());
    return nullptr;
}

std::unique_ptr<FileOutput> FileOutput::create(const std::string& directory, std::error_code& error,
                                               mode_t mode) {
    const std::string folder = directory.empty() ? "." : directory;
    UniqueDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.valid()) {
        error.assign(errno, std::system_category());
        return nullptr;
    }
    constexpr int kAttempts = 100;
    std::unique_ptr<FileOutput> output;
    for (int i = 0; i < kAttempts; ++i) {
        output = createIn(descriptor.get(), randomName(), error, mode);
        if (error != std::errc::file_exists) break;
    }
    if (output == nullptr) return nullptr;
    output->ownDirectory_ = std::move(descriptor);
    output->temporaryPath_ = folder + "/" + output->temporaryName_;
    return output;
}

FileOutput::FileOutput(int directory, UniqueDescriptor file, std::string temporaryName)
    : BufferedOutput(Seeking::kAnywhere),
      directory_(directory),
      file_(std::move(file)),
      temporaryName_(std::move(temporaryName)) {}

FileOutput::~FileOutput() {
    if (!temporaryName_.empty()) ::unlinkat(directory_, temporaryName_.c_str(), 0);
}

std::error_code FileOutput::commit(const std::string& finalName, CommitPolicy policy) {
    if (!isPlainName(finalName)) return std::make_error_code(std::errc::invalid_argument);
    return commitAs(finalName, policy);
}

std::error_code FileOutput::commitInto(const std::string& folder, const std::string& finalName,
                                       CommitPolicy policy) {
    if (!isPlainName(folder) || !isPlainName(finalName))
        return std::make_error_code(std::errc::invalid_argument);
    return commitAs(folder + "/" + finalName, policy);
}

std::error_code FileOutput::commitAs(const std::string& path, CommitPolicy policy) {
    if (temporaryName_.empty()) return std::make_error_code(std::errc::invalid_argument);
    if (!error()) fail(finish());
    fail(file_.close());
    if (error()) return error();

    const char* from = temporaryName_.c_str();
    int failure = 0;
    if (policy == CommitPolicy::kKeepExisting) {
        failure = renameToFreeName(directory_, from, path.c_str());
    } else if (::renameat(directory_, from, directory_, path.c_str()) != 0) {
        failure = errno;
    }
    if (failure != 0) return {failure, std::system_category()};
    temporaryName_.clear();
    temporaryPath_.clear();
    return {};
}

int FileOutput::drain(uint64_t position, std::span<const uint8_t> bytes) noexcept {
    isEmpty_ = false;
    return writeAllAt(file_.get(), position, bytes);
}

int FileOutput::restart() noexcept {
    BufferedOutput::restart();
    if (isEmpty_) return 0;
    return ::ftruncate(file_.get(), 0) == 0 ? 0 : errno;
}

}  // namespace emlhost
