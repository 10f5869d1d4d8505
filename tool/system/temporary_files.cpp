#include "tool/system/temporary_files.h"

#include "standalone/unnamed_file.h"

namespace emltool {

Problem temporaryFileProblem(const std::error_code& error) {
    return {ExitCode::kOutput, "write-failed", emlhost::temporaryFolder(),
            describe(error) + "; temporary files go there, TMPDIR names another folder"};
}

}  // namespace emltool
