#include "tool/system/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tool/text/format.h"

namespace emltool {

namespace {

bool calledBecomeWorker = false;

}  // namespace

int ChildProcess::kill() {
    if (id_ < 0) return 0;
    ::kill(id_, SIGKILL);
    return wait();
}

int ChildProcess::wait() {
    int status = 0;
    if (id_ < 0) return status;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    return status;
}

bool isWorker() noexcept { return calledBecomeWorker; }

void becomeWorker(pid_t parent) {
    calledBecomeWorker = true;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(0);
    for (int number : {SIGINT, SIGTERM, SIGHUP}) std::signal(number, SIG_IGN);
    std::signal(SIGPIPE, SIG_DFL);
    int score = ::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (score >= 0) {
        [[maybe_unused]] ssize_t written = ::write(score, "500", 3);
        ::close(score);
    }
}

std::string describeStatus(int status) {
    if (!WIFSIGNALED(status)) return formatted("ended with exit code {}", WEXITSTATUS(status));
    const char* name = ::sigabbrev_np(WTERMSIG(status));
    return name != nullptr ? formatted("crashed (SIG{})", name)
                           : formatted("crashed (signal {})", WTERMSIG(status));
}

}  // namespace emltool
