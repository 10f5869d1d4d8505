// Processes that work for this one.
#pragma once

#include <sys/types.h>

#include <string>

namespace emltool {

// A child process that is killed and waited for with its owner.
class ChildProcess {
  public:
    explicit ChildProcess(pid_t id) : id_(id) {}
    ~ChildProcess() { kill(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Kills it and returns the status of waitpid: its own if it was ending already, 0 if it has been waited for.
    int kill();

    // Waits for a process that ends by itself.
    int wait();

  private:
    pid_t id_;  // -1 once it has been waited for
};

// What a new process calls first. From then on it ends with its parent, however that ends, and ignores what was
// meant for the parent, such as Ctrl-C. When memory is short, the system kills it before its parent.
void becomeWorker(pid_t parent);

// Whether this process has called becomeWorker.
bool isWorker() noexcept;

// "crashed (SIGSEGV)" or "ended with exit code 3".
std::string describeStatus(int status);

}  // namespace emltool
