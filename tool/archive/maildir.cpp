#include "tool/archive/maildir.h"

#include <algorithm>
#include <array>

#include "tool/archive/mail_lines.h"

namespace emltool {

namespace {

struct Flag {
    char letter;
    std::string_view word;
};

constexpr std::array<Flag, 6> kFlags = {
    {{'S', "seen"}, {'R', "replied"}, {'F', "flagged"}, {'T', "trashed"}, {'D', "draft"}, {'P', "passed"}}};

constexpr std::array<std::string_view, 3> kFiles = {"maildirsize", "maildirfolder", "subscriptions"};
constexpr std::array<std::string_view, 3> kFileBeginnings = {"dovecot", ".dovecot", "courier"};
// No more than these: mail about a server may be in a folder of that name.
constexpr std::array<std::string_view, 2> kFolders = {"tmp", "courierimapkeywords"};

template <typename Names>
bool contains(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// "cur" of "Mail/cur/1.host", and "Mail/" before it.
struct FolderOf {
    std::string_view above;
    std::string_view folder;
    std::string_view file;
};

FolderOf folderOf(std::string_view path) {
    FolderOf parts;
    const size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {"", "", path};
    parts.file = path.substr(slash + 1);
    parts.folder = path.substr(0, slash);
    const size_t above = parts.folder.rfind('/');
    if (above == std::string_view::npos) return parts;
    parts.above = parts.folder.substr(0, above + 1);
    parts.folder.remove_prefix(above + 1);
    return parts;
}

// A time in seconds and a point begin it.
bool isDeliveryName(std::string_view name) {
    constexpr size_t kDigits = 9;
    const size_t end = name.find_first_not_of("0123456789");
    return end != std::string_view::npos && end >= kDigits && name[end] == '.';
}

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

}  // namespace

// Copies often lack folders that are empty.
bool isMaildir(std::span<const std::string_view> folders) {
    return contains(folders, "cur") && (contains(folders, "new") || contains(folders, "tmp"));
}

bool isMaildirHousekeeping(std::string_view name, bool isFolder) {
    if (isFolder) return contains(kFolders, name);
    return contains(kFiles, name) ||
           std::any_of(kFileBeginnings.begin(), kFileBeginnings.end(),
                       [&](std::string_view beginning) { return name.starts_with(beginning); });
}

bool MaildirMembers::leavesOut(std::string_view name, std::string_view beginning) {
    constexpr size_t kMostFolders = 10'000;
    constexpr size_t kLongest = 1024;
    const FolderOf parts = folderOf(name);
    if (parts.folder == "cur" || parts.folder == "new") {
        const bool isKept = folders_.size() < kMostFolders && parts.above.size() <= kLongest;
        if (isKept && !folders_.contains(parts.above)) folders_.emplace(parts.above);
        return false;
    }
    if (contains(kFolders, parts.folder)) return folders_.contains(parts.above) || isDeliveryName(parts.file);
    const bool isMessage = beginsMbox(beginning) || isHeaderField(firstLine(beginning));
    return isMaildirHousekeeping(parts.file, false) && !isMessage;
}

std::optional<std::vector<std::string_view>> maildirFlags(std::string_view path) {
    const auto [above, folder, name] = folderOf(path);
    constexpr std::string_view kMark = ":2,";
    const size_t mark = name.rfind(kMark);
    std::string_view letters;
    bool isMarked = mark != std::string_view::npos;
    if (isMarked) letters = name.substr(mark + kMark.size());
    isMarked = isMarked && std::all_of(letters.begin(), letters.end(), isLetter);
    if (!isMarked && folder != "cur" && folder != "new") return std::nullopt;
    std::vector<std::string_view> words;
    if (!isMarked) return words;
    for (const Flag& flag : kFlags) {
        if (letters.find(flag.letter) != std::string_view::npos) words.push_back(flag.word);
    }
    return words;
}

}  // namespace emltool
