// The rows of a batch as lines.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "standalone/unique_descriptor.h"
#include "tool/batch/finished_rows.h"
#include "tool/batch/row_sink.h"

namespace emltool {

// Standard output, or a file that only one run at a time can write.
class RowOutput final : public RowSink {
  public:
    struct Form {
        std::string path;          // "" is standard output
        bool resume = false;       // the file is continued; else it must not exist
        bool isRewritten = false;  // by addThreads, in the end; standard output gets nothing before
        uint64_t (*read)(int, const std::string&,
                         FinishedRows&) = readFinishedRows;  // those of an earlier run
    };

    // What follows the last whole line of a file that is continued is cut off, and its rows are added to
    // `finished`. Throws Problem.
    RowOutput(Form form, FinishedRows& finished);

    // A file ends with the last whole line that fits.
    void write(std::string_view lines) override;

    // A file is replaced in one step.
    bool addThreads(const std::function<bool()>& goesOn) override;

    bool isFile() const override { return isFile_; }
    bool isSameFile(const struct stat& file) const override {
        return isFile_ && file.st_dev == device_ && file.st_ino == inode_;
    }

  private:
    int descriptor() const;

    // Calls take(row) for each row that was written, without its line end, until that returns false, and then
    // returns false.
    using Take = std::function<bool(std::string_view row)>;
    bool forEachRow(const Take& take) const;

    // Puts what change(row, changed) appends in the place of each row. If this throws, or returns false because `change`
    // did, a file is as it was.
    using Change = std::function<bool(std::string_view row, std::string& changed)>;
    bool rewrite(const Change& change);

    using Write = std::function<void(std::string_view lines)>;

    void noteFile();
    void cutAfterWholeLine(std::string_view written);
    bool rewriteInto(const Write& write, const Change& change) const;
    bool rewriteFile(const Change& change) const;

    std::string path_;
    emlhost::UniqueDescriptor file_;  // without a name, where standard output waits
    uint64_t length_ = 0;
    bool isFile_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace emltool
