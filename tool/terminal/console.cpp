#include "tool/terminal/console.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "tool/text/format.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

bool wantsColor(ColorChoice choice, int descriptor) {
    if (choice != ColorChoice::kAuto) return choice == ColorChoice::kAlways;
    const char* noColor = std::getenv("NO_COLOR");
    if (noColor != nullptr && *noColor != '\0') return false;
    const char* terminal = std::getenv("TERM");
    if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
    return ::isatty(descriptor) != 0;
}

// "SUBJECT: "
std::string prefix(std::string_view subject) { return subject.empty() ? "" : visible(subject) + ": "; }

// Returns 0 or an errno.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

}  // namespace

std::string Style::wrap(std::string_view code, std::string_view text) const {
    return on_ ? formatted("\x1b[{}m{}\x1b[0m", code, text) : std::string(text);
}

Console::Console(ColorChoice color, Verbosity verbosity)
    : verbosity_(verbosity),
      outStyle_(wantsColor(color, STDOUT_FILENO)),
      errorStyle_(wantsColor(color, STDERR_FILENO)) {}

void Console::print(std::string_view text) {
    constexpr size_t kBufferSize = size_t{64} << 10;
    pending_ += text;
    if (pending_.size() >= kBufferSize) flush();
}

void Console::flush() {
    int failure = writeAll(STDOUT_FILENO, pending_);
    pending_.clear();
    if (failure == EPIPE) throw BrokenPipe{};
    if (failure != 0) {
        throw StandardOutputProblem(ExitCode::kOutput, "write-failed", "standard output",
                                    describe({failure, std::system_category()}));
    }
}

void Console::report(const Problem& problem) {
    // Nothing can be done if standard error is closed.
    writeAll(STDERR_FILENO, formatted("{} {}{}\n", errorStyle_.error("eml:"), prefix(problem.subject),
                                      visible(problem.text)));
}

void Console::note(std::string_view text) const {
    if (!quiet()) writeAll(STDERR_FILENO, formatted("eml: {}\n", visible(text)));
}

void Console::warn(std::string_view subject, std::string_view text) {
    hasWarned_ = true;
    if (quiet()) return;
    writeAll(STDERR_FILENO,
             formatted("eml: {}{} {}\n", prefix(subject), errorStyle_.warning("warning:"), visible(text)));
}

}  // namespace emltool
