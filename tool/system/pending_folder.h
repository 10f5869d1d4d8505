// Files that are being written, which a signal removes.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <system_error>

#include "standalone/file_output.h"

namespace emltool {

// A folder that such files are written into, opened once for all of them. Its path must not change meanwhile: files go
// where the folder is, but a signal handler has only the path.
class PendingFolder {
  public:
    // "" is the current one.
    explicit PendingFolder(const std::string& path);
    ~PendingFolder();
    PendingFolder(const PendingFolder&) = delete;
    PendingFolder& operator=(const PendingFolder&) = delete;

    // Whether anything in it has this name, even a dangling link.
    bool has(const std::string& name);

    // A file under a temporary name, which a signal removes until it is committed. NULL on failure, with the cause in
    // `error`. There may be only one at a time, and none may outlive the folder.
    std::unique_ptr<emlhost::FileOutput> create(std::error_code& error, mode_t mode = 0644);

  private:
    int open();
    void chooseName();

    std::string path_;
    emlhost::UniqueDescriptor folder_;
    std::string temporaryName_;  // of one file after the other
    std::string temporaryPath_;
};

}  // namespace emltool
