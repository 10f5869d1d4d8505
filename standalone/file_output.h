// An output file that appears under its name only when it is complete.
#ifndef EMLREADER_STANDALONE_FILE_OUTPUT_H
#define EMLREADER_STANDALONE_FILE_OUTPUT_H

#include <sys/types.h>

#include <memory>
#include <string>
#include <system_error>

#include "standalone/output.h"
#include "standalone/unique_descriptor.h"

namespace emlhost {

// What commit does when the name is taken.
enum class CommitPolicy {
    kKeepExisting,  // fail with EEXIST, whatever has the name: a file, a folder, a link
    kReplace        // take its place in one step; a link is replaced, not followed
};

// Writes into a temporary file in the directory where the result is to stand, created exclusively and never
// through a link. commit gives it its name in one step, so that no reader ever sees half a file. The
// destructor removes what was not committed.
//
//     std::error_code error;
//     auto output = FileOutput::create("out", error);
//     if (output == nullptr) ...                                  // no such folder, no permission
//     message.extract(1, output->object());
//     error = output->commit("report.pdf", CommitPolicy::kKeepExisting);
class FileOutput final : public BufferedOutput {
  public:
    // Creates the temporary file in `directory` ("" is the current one) with the permissions `mode`, less the
    // umask. NULL on failure, with the cause in `error`.
    static std::unique_ptr<FileOutput> create(const std::string& directory, std::error_code& error,
                                              mode_t mode = 0644);

    // The same in a folder that is open as `directory`, which stays the caller's and must stay open as long
    // as the object, under the name `temporaryName`: EEXIST if something has it. For a program that writes
    // many files into one folder, or that must know the name before there is a file.
    static std::unique_ptr<FileOutput> createIn(int directory, const std::string& temporaryName,
                                                std::error_code& error, mode_t mode = 0644);

    // A name for a temporary file, by chance: it may be taken.
    static std::string randomName();

    ~FileOutput() override;

    // Gives the file the name `finalName` in its directory. Fails with EINVAL if that is not a plain name
    // ("", ".", "..", or with a "/" or a zero byte), with the write error if there was one, and with EEXIST
    // as the policy says. After a failure nothing has changed, and another name may be tried. After a
    // success, further commits fail with EINVAL.
    [[nodiscard]] std::error_code commit(const std::string& finalName, CommitPolicy policy);

    // The same in a folder that is in its directory: "ab". Both must be plain names.
    [[nodiscard]] std::error_code commitInto(const std::string& folder, const std::string& finalName,
                                             CommitPolicy policy);

    // Path of the temporary file, for a program that removes it when a signal ends it; empty once committed,
    // and for a file of createIn.
    const std::string& temporaryPath() const noexcept { return temporaryPath_; }

  private:
    FileOutput(int directory, UniqueDescriptor file, std::string temporaryName);

    std::error_code commitAs(const std::string& path, CommitPolicy policy);
    int drain(uint64_t position, std::span<const uint8_t> bytes) noexcept override;
    int restart() noexcept override;

    int directory_;  // names are resolved here, even if the path is moved meanwhile
    UniqueDescriptor ownDirectory_;
    UniqueDescriptor file_;
    bool isEmpty_ = true;
    std::string temporaryName_;
    std::string temporaryPath_;
};

}  // namespace emlhost

#endif
