// The files that a command writes while it may be reading the folder that they lie in.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <utility>

namespace emltool {

class OwnFiles {
  public:
    // `output` is where the files go, "" being the current folder.
    explicit OwnFiles(const std::string& output);

    // From now on files come from this folder. What lies in an output folder inside it is its own, also what an earlier
    // run has left there.
    void setFolder(const std::string& folder);

    // Whether this folder is that of the output, or in it.
    bool isOutput(const std::string& folder) const;

    // A file that this run has written.
    void add(const std::string& path);

    bool has(const std::string& path) const;

  private:
    std::string output_;  // ends with "/"
    bool isInside_ = false;
    std::set<std::pair<dev_t, ino_t>> written_;
};

}  // namespace emltool
