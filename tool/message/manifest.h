// The list of the files that an extraction has written, one line of JSON each.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tool/archive/message_source.h"
#include "tool/message/tree.h"
#include "tool/system/spooled_file.h"

namespace emltool {

// The row of a file with its line end. `reading` is the one that offers it, unless the entry names those that do.
std::string manifestRow(const MessageSource& source, const SubFileEntry& entry, Reading reading);

// The row after those of the files of a message, so many: all of it is done. `problem` is the first one that it had, or
// NULL.
std::string manifestMessageRow(const MessageSource& source, uint64_t files, const Problem* problem);

// Rows that become a file when all of them are there. Until then they are kept elsewhere.
class ManifestFile {
  public:
    // Checks that the file can be created. One that exists is replaced if `replace` says so. Throws Problem.
    ManifestFile(std::string path, bool replace);

    void add(std::string_view row) { rows_.append(row); }

    // Throws Problem.
    void finish();

  private:
    std::string path_;
    bool replace_;
    SpooledFile rows_;
};

}  // namespace emltool
