// Maildir: a folder with a file for each message, which mail servers keep.
#pragma once

#include <optional>
#include <span>
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

// What is known of a message by its path: "seen", "replied", "flagged", "trashed", "draft", "passed", in this
// order. Nothing if the path is not that of a message in a Maildir: its folder is "cur" or "new", or its name
// ends with ":2," and letters. Unknown letters are left out.
std::optional<std::vector<std::string_view>> maildirFlags(std::string_view path);

}  // namespace emltool
