#include "tool/system/isolated_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <exception>
#include <new>
#include <system_error>

#include "tool/system/process_limits.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

enum ExitStatus : int { kDone = 0, kFailed = 1, kNoMemory = 2 };

constexpr int kReply = STDERR_FILENO + 1;
constexpr int kInput = kReply + 1;

// Closes every descriptor but these, which get the numbers kReply and kInput; `input` may be none. False on failure.
bool dropDescriptors(int reply, int input) {
    // First moves them away from the low numbers.
    const int kept = ::fcntl(reply, F_DUPFD, kInput + 1);
    const int keptInput = input < 0 ? -1 : ::fcntl(input, F_DUPFD, kInput + 1);
    const int nothing = ::open("/dev/null", O_RDWR);
    if (kept < 0 || nothing < 0 || (input >= 0 && keptInput < 0)) return false;
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) ::dup2(nothing, number);
    if (::dup2(kept, kReply) < 0 || (input >= 0 && ::dup2(keptInput, kInput) < 0)) return false;
    return ::close_range(input < 0 ? kInput : kInput + 1, ~0U, 0) == 0;
}

void acceptLimits(const ProcessLimits& limits) {
    lowerLimit(RLIMIT_AS, static_cast<rlim_t>(addressSpace() + limits.memory));
    if (limits.isRenewed) {
        allowProcessorTime(limits.processorSeconds);
    } else {
        lowerLimit(RLIMIT_CPU, limits.processorSeconds);
    }
    for (int resource : {RLIMIT_CORE, RLIMIT_FSIZE, RLIMIT_NOFILE, RLIMIT_NPROC}) lowerLimit(resource, 0);
    // Handlers of the program, such as a sanitizer's, are not wanted here.
    for (int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGXCPU}) {
        std::signal(number, SIG_DFL);
    }
}

[[noreturn]] void doIsolated(const ProcessWork& work, const ProcessLimits& limits, int reply, int input,
                             pid_t parent) {
    ExitStatus status = kFailed;
    try {
        becomeWorker(parent);
        const bool isAlone = dropDescriptors(reply, input);
        acceptLimits(limits);
        if (isAlone && work(kReply, kInput)) status = kDone;
    } catch (const std::bad_alloc&) {
        status = kNoMemory;
    } catch (const std::exception&) {
        status = kFailed;
    }
    ::_exit(status);
}

std::string startFailure() { return "cannot be started: " + describe({errno, std::system_category()}); }

}  // namespace

IsolatedProcess startIsolated(const ProcessWork& work, const ProcessLimits& limits, int input) {
    IsolatedProcess process;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        process.failure = startFailure();
        return process;
    }
    process.replies = emlhost::UniqueDescriptor(ends[0]);
    const emlhost::UniqueDescriptor writing(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t id = ::fork();
    if (id == 0) doIsolated(work, limits, writing.get(), input, parent);
    if (id < 0) {
        process.failure = startFailure();
    } else {
        process.child = std::make_unique<ChildProcess>(id);
    }
    return process;
}

void allowProcessorTime(unsigned seconds) {
    struct timespec used {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    setSoftLimit(RLIMIT_CPU, static_cast<rlim_t>(used.tv_sec) + seconds);
}

std::string isolatedFailure(int status) {
    const bool tooMuchWork =
        WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
    if (tooMuchWork) return "took too long";
    if (!WIFEXITED(status)) return describeStatus(status);
    if (WEXITSTATUS(status) == kDone) return "";
    return WEXITSTATUS(status) == kNoMemory ? "ran out of memory" : "could not do it";
}

}  // namespace emltool
