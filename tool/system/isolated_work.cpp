#include "tool/system/isolated_work.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <new>
#include <system_error>

#include "standalone/unique_descriptor.h"
#include "tool/system/child_process.h"
#include "tool/system/process_limits.h"
#include "tool/terminal/problem.h"

namespace emltool {

namespace {

using Clock = std::chrono::steady_clock;

enum ExitStatus : int { kDone = 0, kFailed = 1, kNoMemory = 2 };

// Closes every descriptor but `reply` and returns the new number of that; -1 on failure.
int dropDescriptors(int reply) {
    constexpr int kReply = STDERR_FILENO + 1;
    // First moves it away from the low numbers.
    int kept = ::fcntl(reply, F_DUPFD, kReply + 1);
    int nothing = ::open("/dev/null", O_RDWR);
    if (kept < 0 || nothing < 0) return -1;
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) ::dup2(nothing, number);
    if (::dup2(kept, kReply) < 0 || ::close_range(kReply + 1, ~0U, 0) != 0) return -1;
    return kReply;
}

void acceptLimits(const IsolationLimits& limits) {
    lowerLimit(RLIMIT_AS, static_cast<rlim_t>(addressSpace() + limits.memory));
    lowerLimit(RLIMIT_CPU, limits.processorSeconds);
    for (int resource : {RLIMIT_CORE, RLIMIT_FSIZE, RLIMIT_NOFILE, RLIMIT_NPROC}) lowerLimit(resource, 0);
    // Handlers of the program, such as a sanitizer's, are not wanted here.
    for (int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGXCPU}) {
        std::signal(number, SIG_DFL);
    }
}

[[noreturn]] void doIsolated(const IsolatedWork& work, const IsolationLimits& limits, int reply,
                             pid_t parent) {
    ExitStatus status = kFailed;
    try {
        becomeWorker(parent);
        int descriptor = dropDescriptors(reply);
        acceptLimits(limits);
        if (descriptor >= 0 && work(descriptor)) status = kDone;
    } catch (const std::bad_alloc&) {
        status = kNoMemory;
    } catch (const std::exception&) {
        status = kFailed;
    }
    ::_exit(status);
}

// How the reading of the reply ended.
enum class Reading { kWhole, kTooLong, kTooLate, kFailed };

Reading readReply(int descriptor, const IsolationLimits& limits, std::vector<uint8_t>& bytes) {
    constexpr size_t kPiece = size_t{64} << 10;
    const Clock::time_point end = Clock::now() + limits.timeout;
    for (;;) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return Reading::kTooLate;
        struct pollfd waiting {
            descriptor, POLLIN, 0
        };
        int ready = ::poll(&waiting, 1, static_cast<int>(std::min<decltype(left)>(left, 1000)));
        if (ready < 0 && errno != EINTR) return Reading::kFailed;
        if (ready <= 0) continue;
        size_t before = bytes.size();
        bytes.resize(before + kPiece);
        ssize_t got = ::read(descriptor, bytes.data() + before, kPiece);
        bool again = got < 0 && errno == EINTR;
        bytes.resize(before + static_cast<size_t>(std::max<ssize_t>(got, 0)));
        if (got < 0 && !again) return Reading::kFailed;
        if (got == 0) return Reading::kWhole;
        if (bytes.size() > limits.reply) return Reading::kTooLong;
    }
}

std::string failureOf(Reading reading, int status) {
    switch (reading) {
        case Reading::kTooLong:
            return "gave more than there can be";
        case Reading::kTooLate:
            return "took too long";
        case Reading::kFailed:
            return "could not be heard";
        case Reading::kWhole:
            break;
    }
    bool tooMuchWork = WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
    if (tooMuchWork) return "took too long";
    if (!WIFEXITED(status)) return describeStatus(status);
    if (WEXITSTATUS(status) == kDone) return "";
    return WEXITSTATUS(status) == kNoMemory ? "ran out of memory" : "could not do it";
}

}  // namespace

IsolatedReply workIsolated(const IsolatedWork& work, const IsolationLimits& limits) {
    IsolatedReply reply;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        reply.failure = "cannot be started: " + describe({errno, std::system_category()});
        return reply;
    }
    emlhost::UniqueDescriptor reading(ends[0]);
    emlhost::UniqueDescriptor writing(ends[1]);
    pid_t parent = ::getpid();
    pid_t id = ::fork();
    if (id == 0) doIsolated(work, limits, writing.get(), parent);
    if (id < 0) {
        reply.failure = "cannot be started: " + describe({errno, std::system_category()});
        return reply;
    }
    ChildProcess child(id);
    writing.close();
    Reading result = readReply(reading.get(), limits, reply.bytes);
    // An honest process closes the pipe by ending; one that runs on after that is not honest.
    reply.failure = failureOf(result, child.kill());
    if (!reply.done()) reply.bytes.clear();
    return reply;
}

}  // namespace emltool
