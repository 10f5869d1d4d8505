// The files in a folder and the folders in it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/terminal/problem.h"

namespace emltool {

// Returns paths in the order of their bytes, as `find FOLDER | LC_ALL=C sort` does, on every machine and file
// system. Links to files count as files; links to folders are not followed, since they may form a circle.
// Only the names in the folders that lead to the current file are in memory. Of a Maildir, what is not a message
// is left out without a word.
class FolderWalk {
  public:
    // `pattern`: only files with such names ("*.eml"); all when it is empty.
    FolderWalk(const std::string& folder, std::string pattern);

    struct Entry {
        std::string path;
        std::optional<Problem> problem;  // a folder that cannot be read
        const char* leftOut = nullptr;   // why this is not one of the files
    };

    // False at the end.
    bool next(Entry& entry);

  private:
    struct Level {
        std::string prefix;                               // "archive/2024/"
        std::vector<std::pair<std::string, char>> names;  // and their kinds; folders end with "/"
        size_t next = 0;
    };

    void enter(std::string folder);

    std::string pattern_;
    std::vector<Level> levels_;
    std::optional<Entry> failed_;  // the folder that enter could not read
};

// Whether `path` is a folder, or a link to one.
bool isFolder(const std::string& path);

}  // namespace emltool
