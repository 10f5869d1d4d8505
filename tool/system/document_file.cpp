#include "tool/system/document_file.h"

#include <filesystem>

#include "tool/terminal/problem.h"

namespace emltool {

std::unique_ptr<emlhost::FileOutput> createDocument(const std::string& path, mode_t mode) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Problem(ExitCode::kOutput, "is-a-directory", path, "is a directory; name a file in it");
    }
    auto output =
        emlhost::FileOutput::create(std::filesystem::path(path).parent_path().string(), error, mode);
    if (output == nullptr) throw Problem(ExitCode::kOutput, "cannot-write", path, describe(error));
    return output;
}

void keepDocument(emlhost::FileOutput& output, const std::string& path, bool overwrite) {
    using emlhost::CommitPolicy;
    std::error_code error = output.commit(std::filesystem::path(path).filename().string(),
                                          overwrite ? CommitPolicy::kReplace : CommitPolicy::kKeepExisting);
    if (error == std::errc::file_exists) {
        throw Problem(ExitCode::kOutput, "exists", path,
                      "already exists, not overwritten; choose --overwrite");
    }
    if (error) throw Problem(ExitCode::kOutput, "cannot-write", path, describe(error));
}

}  // namespace emltool
