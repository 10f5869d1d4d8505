#include "tool/archive/folder_walk.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

#include "tool/archive/maildir.h"

namespace emltool {

namespace {

constexpr char kFile = 'f';
constexpr char kFolder = 'd';
constexpr char kFolderLink = 'l';
constexpr char kOther = 'o';

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// `type` is what the folder says, which may be "unknown". A dangling link counts as a file that cannot be
// read.
char kindOf(const std::string& path, unsigned char type) {
    if (type == DT_REG) return kFile;
    if (type == DT_DIR) return kFolder;
    if (type != DT_LNK && type != DT_UNKNOWN) return kOther;
    struct stat found {};
    if (::lstat(path.c_str(), &found) != 0) return kFile;
    bool isLink = S_ISLNK(found.st_mode);
    if (isLink && ::stat(path.c_str(), &found) != 0) return kFile;
    if (S_ISDIR(found.st_mode)) return isLink ? kFolderLink : kFolder;
    return S_ISREG(found.st_mode) ? kFile : kOther;
}

using Names = std::vector<std::pair<std::string, char>>;

// "cur/" is "cur".
std::string_view plainName(const std::pair<std::string, char>& entry) {
    std::string_view name = entry.first;
    if (entry.second == kFolder) name.remove_suffix(1);
    return name;
}

// What a Maildir holds besides messages is not worth a word.
void leaveOutHousekeeping(Names& names) {
    std::vector<std::string_view> folders;
    for (const auto& entry : names) {
        if (entry.second == kFolder) folders.push_back(plainName(entry));
    }
    if (!isMaildir(folders)) return;
    std::erase_if(names, [](const auto& entry) {
        return isMaildirHousekeeping(plainName(entry), entry.second == kFolder);
    });
}

}  // namespace

bool isFolder(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

FolderWalk::FolderWalk(const std::string& folder, std::string pattern) : pattern_(std::move(pattern)) {
    enter(folder);
}

// If reading a folder fails half-way, it counts as one that cannot be read: part of a list would look like
// the whole.
void FolderWalk::enter(std::string folder) {
    Level level;
    level.prefix = folder.ends_with('/') ? folder : folder + "/";
    std::unique_ptr<DIR, CloseFolder> stream(::opendir(folder.c_str()));
    int failure = stream == nullptr ? errno : 0;
    while (failure == 0) {
        errno = 0;
        const dirent* found = ::readdir(stream.get());
        if (found == nullptr) {
            failure = errno;
            break;
        }
        std::string name = found->d_name;
        if (name == "." || name == "..") continue;
        char kind = kindOf(level.prefix + name, found->d_type);
        if (kind != kFolder && !pattern_.empty() && ::fnmatch(pattern_.c_str(), name.c_str(), 0) != 0)
            continue;
        if (kind == kFolder) name += '/';
        level.names.emplace_back(std::move(name), kind);
    }
    if (failure != 0) {
        Problem problem(ExitCode::kInput, "cannot-read", folder, describe({failure, std::system_category()}));
        failed_ = Entry{std::move(folder), std::move(problem), nullptr};
        return;
    }
    leaveOutHousekeeping(level.names);
    std::sort(level.names.begin(), level.names.end());
    levels_.push_back(std::move(level));
}

bool FolderWalk::next(Entry& entry) {
    while (!failed_ && !levels_.empty()) {
        Level& level = levels_.back();
        if (level.next == level.names.size()) {
            levels_.pop_back();
            continue;
        }
        auto& [name, kind] = level.names[level.next++];
        std::string path = level.prefix + name;
        if (kind == kFolder) {
            path.pop_back();
            enter(std::move(path));
            continue;
        }
        const char* leftOut = kind == kFolderLink ? "a link to a folder, which is not followed"
                              : kind == kOther    ? "no regular file"
                                                  : nullptr;
        entry = Entry{std::move(path), std::nullopt, leftOut};
        return true;
    }
    if (!failed_) return false;
    entry = std::move(*failed_);
    failed_.reset();
    return true;
}

}  // namespace emltool
