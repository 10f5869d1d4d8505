// Paths that come from a pipe, one per line.
#pragma once

#include <string>

namespace emltool {

// Reads only when it is told to, so that whoever writes the paths may wait for an answer to each of them.
// Empty lines are left out. What follows the last separator is a path too.
class PathList {
  public:
    // The descriptor stays the caller's.
    PathList(int descriptor, char separator) : descriptor_(descriptor), separator_(separator) {}

    int descriptor() const { return descriptor_; }

    // The next path that is there already.
    bool next(std::string& path);

    // Nothing more comes.
    bool atEnd() const { return ended_ && position_ >= buffer_.size(); }

    // Waits for more and takes it. Gives 0 or an errno.
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
