#include "tool/archive/maildir.h"

#include <algorithm>
#include <array>

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

std::optional<std::vector<std::string_view>> maildirFlags(std::string_view path) {
    const size_t slash = path.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    std::string_view folder = slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
    if (const size_t above = folder.rfind('/'); above != std::string_view::npos)
        folder.remove_prefix(above + 1);
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
