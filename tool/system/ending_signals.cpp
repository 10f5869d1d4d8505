#include "tool/system/ending_signals.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "tool/system/temporary_file.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Written by the handler.
volatile sig_atomic_t caughtSignal = 0;
int pipeOfHandler = -1;

[[noreturn]] void endBy(int number) {
    std::signal(number, SIG_DFL);
    sigset_t only;
    ::sigemptyset(&only);
    ::sigaddset(&only, number);
    ::sigprocmask(SIG_UNBLOCK, &only, nullptr);
    ::raise(number);
    ::_exit(128 + number);
}

extern "C" void note(int number) {
    if (caughtSignal != 0) endBy(number);
    caughtSignal = number;
    int before = errno;
    [[maybe_unused]] ssize_t written = ::write(pipeOfHandler, "", 1);
    errno = before;
}

}  // namespace

EndingSignals::EndingSignals() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw Problem(ExitCode::kInternal, "internal", "", describe({errno, std::system_category()}));
    }
    reading_ = emlhost::UniqueDescriptor(ends[0]);
    writing_ = emlhost::UniqueDescriptor(ends[1]);
    caughtSignal = 0;
    pipeOfHandler = writing_.get();
    struct sigaction action {};
    action.sa_handler = note;
    ::sigemptyset(&action.sa_mask);
    for (int number : kSignals) {
        struct sigaction before {};
        // One that the parent process has switched off (nohup) stays off.
        bool ignored = ::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (!ignored) ::sigaction(number, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

EndingSignals::~EndingSignals() {
    installSignalHandlers();
    std::signal(SIGPIPE, SIG_DFL);
}

int EndingSignals::caught() { return caughtSignal; }

void EndingSignals::end() { endBy(caughtSignal); }

}  // namespace emltool
