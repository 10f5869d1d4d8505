#include "tool/terminal/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

constexpr auto kFirst = std::chrono::milliseconds(500);
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr std::string_view kEraseLine = "\r\x1b[K";

bool wantsProgress(const Console& console, bool writesToStandardOutput) {
    const char* terminal = std::getenv("TERM");
    bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return !console.quiet() && !isDumb && ::isatty(STDERR_FILENO) != 0 &&
           !(writesToStandardOutput && ::isatty(STDOUT_FILENO) != 0);
}

size_t terminalWidth() {
    constexpr size_t kUsual = 80;
    struct winsize size {};
    bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : kUsual;
}

// The beginning of `text` that leaves the last column free, where some terminals begin a new line.
std::string cut(std::string_view text) {
    size_t room = terminalWidth() - 1;
    std::string shown = visible(text);
    size_t columns = 0;
    for (size_t position = 0; position < shown.size();) {
        size_t start = position;
        nextCharacter(shown, position);
        columns += displayWidth(std::string_view(shown).substr(start, position - start));
        if (columns > room) return shown.substr(0, start);
    }
    return shown;
}

void put(std::string_view text) {
    // It does not matter whether it arrives.
    [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

ProgressLine::ProgressLine(const Console& console, bool writesToStandardOutput)
    : on_(wantsProgress(console, writesToStandardOutput)), begin_(Clock::now()), next_(begin_ + kFirst) {}

int ProgressLine::untilDue() const {
    if (!on_) return -1;
    auto left = std::chrono::ceil<std::chrono::milliseconds>(next_ - Clock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void ProgressLine::show(std::string_view text) {
    put(std::string(kEraseLine) + cut(text));
    shown_ = true;
    next_ = Clock::now() + kInterval;
}

void ProgressLine::clear() {
    if (shown_) put(kEraseLine);
    shown_ = false;
}

}  // namespace emltool
