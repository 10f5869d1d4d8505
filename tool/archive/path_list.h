// Paths that come from a pipe, one per line.
#pragma once

#include <string>

namespace emltool {

// Reads only on request, so that the writer of the paths may wait for an answer to each. Empty lines are
// skipped. What follows the last separator is a path too.
class PathList {
  public:
    // The descriptor stays the caller's.
    PathList(int descriptor, char separator) : descriptor_(descriptor), separator_(separator) {}

    int descriptor() const { return descriptor_; }

    // The next path that has already been read.
    bool next(std::string& path);

    // All paths have been taken.
    bool atEnd() const { return ended_ && position_ >= buffer_.size(); }

    // Waits for more and reads it. Returns 0 or an errno.
    int read();

  private:
    int descriptor_;
    char separator_;
    bool ended_ = false;
    std::string buffer_;
    size_t position_ = 0;  // of the next path
    size_t searched_ = 0;  // no separator stands between position_ and here
};

}  // namespace emltool
