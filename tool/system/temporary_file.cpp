#include "tool/system/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tool/terminal/problem.h"

namespace emltool {

namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Read by the signal handler.
char fileToRemove[4096 + 256];

extern "C" void removeFileAndEnd(int signalNumber) {
    if (fileToRemove[0] != '\0') ::unlink(fileToRemove);
    // The action has been reset, so the signal now ends the program, and the shell sees which it was.
    ::raise(signalNumber);
}

}  // namespace

TemporaryFile::TemporaryFile() {
    const char* variable = std::getenv("TMPDIR");
    std::string name = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    descriptor_ = emlhost::UniqueDescriptor(::open(name.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (descriptor_.valid()) return;
    // Not every file system knows files without a name.
    name += "/eml-XXXXXX";
    descriptor_ = emlhost::UniqueDescriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!descriptor_.valid()) {
        throw Problem(ExitCode::kOutput, "write-failed", "temporary file",
                      describe({errno, std::system_category()}));
    }
    ::unlink(name.c_str());
}

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = removeFileAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigemptyset(&action.sa_mask);
    for (int number : kEndingSignals) {
        struct sigaction before {};
        // A signal that the parent process has switched off (nohup) stays off.
        bool ignored = ::sigaction(number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN;
        if (!ignored) ::sigaction(number, &action, nullptr);
    }
}

void removeOnSignal(const std::string& path) {
    fileToRemove[0] = '\0';
    if (path.size() < sizeof fileToRemove) std::memcpy(fileToRemove, path.c_str(), path.size() + 1);
}

SignalsHeldBack::SignalsHeldBack() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (int number : kEndingSignals) ::sigaddset(&signals, number);
    ::sigprocmask(SIG_BLOCK, &signals, &before_);
}

SignalsHeldBack::~SignalsHeldBack() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace emltool
