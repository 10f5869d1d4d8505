#include "tool/system/ending_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Read by the signal handler: the file, while `isToRemove` is not 0.
char fileToRemove[4096 + 256];
volatile sig_atomic_t isToRemove = 0;

extern "C" void removeFileAndEnd(int signalNumber) {
    if (isToRemove != 0) ::unlink(fileToRemove);
    // The action has been reset, so the signal now ends the program, and the shell sees which signal it was.
    ::raise(signalNumber);
}

// Written by the handler of EndingSignals.
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
    if (caughtSignal != 0) {
        if (isToRemove != 0) ::unlink(fileToRemove);
        endBy(number);
    }
    caughtSignal = number;
    int before = errno;
    [[maybe_unused]] ssize_t written = ::write(pipeOfHandler, "", 1);
    errno = before;
}

// Lets `action` handle the signals, except those that the parent process has switched off (nohup).
void handleSignals(const struct sigaction& action) {
    for (int number : kSignals) {
        struct sigaction before {};
        bool ignored = ::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (!ignored) ::sigaction(number, &action, nullptr);
    }
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = removeFileAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigemptyset(&action.sa_mask);
    handleSignals(action);
}

void removeOnSignal(const std::string& path) {
    if (isToRemove != 0 && path == fileToRemove) return;
    isToRemove = 0;
    if (path.size() >= sizeof fileToRemove) return;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    std::memcpy(fileToRemove, path.c_str(), path.size() + 1);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    isToRemove = 1;
}

void stopRemoving(const std::string& path) {
    if (path == fileToRemove) isToRemove = 0;
}

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
    handleSignals(action);
    std::signal(SIGPIPE, SIG_IGN);
}

EndingSignals::~EndingSignals() {
    installSignalHandlers();
    std::signal(SIGPIPE, SIG_DFL);
}

int EndingSignals::caught() { return caughtSignal; }

void EndingSignals::end() { endBy(caughtSignal); }

}  // namespace emltool
