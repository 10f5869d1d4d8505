// A file that is being written, which a signal removes.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <system_error>

#include "standalone/file_output.h"

namespace emltool {

// There may be only one object at a time.
class PendingFile {
  public:
    // In `folder`, under a temporary name; "" is the current one.
    explicit PendingFile(const std::string& folder, mode_t mode = 0644);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // NULL if it could not be created, as error() then explains.
    emlhost::FileOutput* output() { return output_.get(); }
    const std::error_code& error() const { return error_; }

    // As FileOutput::commit. No signal removes the file after a success.
    [[nodiscard]] std::error_code commit(const std::string& name, emlhost::CommitPolicy policy);

  private:
    std::error_code error_;
    std::unique_ptr<emlhost::FileOutput> output_;
};

}  // namespace emltool
