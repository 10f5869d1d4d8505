#include "tool/commands/each_file.h"

namespace emltool {

ExitCode forEachFile(Console& console, const std::vector<std::string>& paths, const FileWork& work,
                     const FileFailure& onProblem) {
    Tally tally;
    for (const std::string& path : paths) {
        try {
            work(path);
            tally.succeeded();
        } catch (const StandardOutputProblem&) {
            throw;
        } catch (const Problem& problem) {
            if (onProblem) onProblem(path, problem);
            console.report(problem);
            tally.failed(problem.exit);
        }
    }
    return tally.exitCode();
}

}  // namespace emltool
