#include "tool/terminal/problem.h"

namespace emltool {

Problem usageProblem(std::string text) { return {ExitCode::kUsage, "usage", "", std::move(text)}; }

Problem outOfMemory(std::string subject) {
    return {ExitCode::kInternal, "out-of-memory", std::move(subject), "out of memory"};
}

std::string describe(const std::error_code& error) {
    std::string text = error.message();
    bool acronym = text.size() > 1 && text[1] >= 'A' && text[1] <= 'Z';
    if (!acronym && !text.empty() && text[0] >= 'A' && text[0] <= 'Z') {
        text[0] = static_cast<char>(text[0] - 'A' + 'a');
    }
    return text;
}

}  // namespace emltool
