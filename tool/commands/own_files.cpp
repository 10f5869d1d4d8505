#include "tool/commands/own_files.h"

#include <sys/stat.h>

#include <filesystem>
#include <optional>

namespace emltool {

namespace {

namespace fs = std::filesystem;

// Without links; of what does not exist, as far as it does.
std::string canonical(const std::string& path) {
    std::error_code error;
    const fs::path start = path.empty() ? fs::path(".") : fs::path(path);
    return fs::weakly_canonical(fs::absolute(start, error), error).string();
}

std::string asFolder(std::string path) {
    if (!path.ends_with('/')) path += '/';
    return path;
}

std::optional<std::pair<dev_t, ino_t>> identityOf(const std::string& path) {
    struct stat found {};
    if (::stat(path.c_str(), &found) != 0) return std::nullopt;
    return std::pair(found.st_dev, found.st_ino);
}

}  // namespace

OwnFiles::OwnFiles(const std::string& output) : output_(asFolder(canonical(output))) {}

void OwnFiles::setFolder(const std::string& folder) {
    const std::string whole = asFolder(canonical(folder));
    isInside_ = output_.size() > whole.size() && output_.starts_with(whole);
}

bool OwnFiles::isOutput(const std::string& folder) const {
    return asFolder(canonical(folder)).starts_with(output_);
}

void OwnFiles::add(const std::string& path) {
    if (const auto identity = identityOf(path)) written_.insert(*identity);
}

bool OwnFiles::has(const std::string& path) const {
    if (isInside_ && canonical(path).starts_with(output_)) return true;
    const auto identity = identityOf(path);
    return identity && written_.contains(*identity);
}

}  // namespace emltool
