// Where the rows of a batch go.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "standalone/unique_descriptor.h"
#include "tool/batch/finished_rows.h"

namespace emltool {

// Standard output, or a file that only one run at a time can write.
class RowOutput {
  public:
    // `path` is "" for standard output. With `resume` the file is continued: what follows its last whole line
    // is cut off, and its rows are added to `finished`. Without, it must not exist. Throws Problem.
    RowOutput(std::string path, bool resume, FinishedRows& finished);

    // Writes whole lines. Throws Problem, StandardOutputProblem or BrokenPipe. A file then ends with the last
    // whole line that fits.
    void write(std::string_view lines);

    int descriptor() const;

    // Whether a file can be what is written.
    bool isFile() const { return isFile_; }

    // Whether `file` is what is written, by whatever name it was found.
    bool isSameFile(const struct stat& file) const {
        return isFile_ && file.st_dev == device_ && file.st_ino == inode_;
    }

  private:
    void create(bool resume);
    void noteFile();
    void cutAfterWholeLine(std::string_view written);

    std::string path_;
    emlhost::UniqueDescriptor file_;
    uint64_t length_ = 0;
    bool isFile_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace emltool
