// Maildir: a folder with a file for each message, which mail servers keep.
#pragma once

#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

// In a Maildir the messages are in "cur" (seen by a mail program) and "new"; "tmp" has what is being delivered.
// Other Maildirs may be in it, as ".Sent" for instance.

// Whether a folder that holds folders with these names is one.
bool isMaildir(std::span<const std::string_view> folders);

// Whether a file, or a folder, with this name in a Maildir is part of its housekeeping: "tmp", and the indexes and
// lists of mail servers.
bool isMaildirHousekeeping(std::string_view name, bool isFolder);

// The same for the files in an archive, where the folders beside a file may be still to come.
class MaildirMembers {
  public:
    // Whether the member with this name, which begins so, is part of the housekeeping: it lies in "tmp" beside "cur" or
    // "new", or has a name there as messages have until they are delivered; or it has the name of an index or a list,
    // and does not begin like a message.
    bool leavesOut(std::string_view name, std::string_view beginning);

  private:
    std::set<std::string, std::less<>> folders_;  // that have "cur" or "new"
};

// What is known of a message by its path: "seen", "replied", "flagged", "trashed", "draft", "passed", in this
// order. Nothing if the path is not that of a message in a Maildir: its folder is "cur" or "new", or its name
// ends with ":2," and letters. Unknown letters are left out.
std::optional<std::vector<std::string_view>> maildirFlags(std::string_view path);

}  // namespace emltool
