// Files that are being written, which a signal removes.
#pragma once

#include <sys/types.h>

#include <optional>
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

  private:
    friend class PendingFile;

    int open();
    int create(emlhost::UniqueDescriptor& file, mode_t mode);
    void chooseName();

    std::string path_;
    emlhost::UniqueDescriptor folder_;
    std::string temporaryName_;  // of one file after the other
    std::string temporaryPath_;
};

// One of the files. It has a temporary name until it is complete. There may be only one object at a time.
class PendingFile {
  public:
    explicit PendingFile(PendingFolder& folder, mode_t mode = 0644);

    // Removes what was not committed.
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // NULL if it could not be created, as error() then explains.
    emlhost::Output* output() { return output_ ? &*output_ : nullptr; }
    const std::error_code& error() const { return error_; }

    // Gives the file its name in one step. Fails with EINVAL if that is not a plain name, with the write error if there
    // was one, and with EEXIST as the policy says; another name may be tried then. May succeed once.
    [[nodiscard]] std::error_code commit(const std::string& name, emlhost::CommitPolicy policy);

  private:
    class FileOutput final : public emlhost::BufferedOutput {
      public:
        explicit FileOutput(emlhost::UniqueDescriptor file)
            : BufferedOutput(Seeking::kAnywhere), file_(std::move(file)) {}

        // Writes what is left and closes the file. Returns the first error.
        std::error_code end();

      private:
        int drain(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
        int restart() noexcept override;

        emlhost::UniqueDescriptor file_;
        bool isEmpty_ = true;
    };

    PendingFolder& folder_;
    std::error_code error_;
    std::optional<FileOutput> output_;
    bool isCommitted_ = false;
};

}  // namespace emltool
