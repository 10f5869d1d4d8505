// The worker processes of a batch.
#pragma once

#include <poll.h>

#include <chrono>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tool/batch/process.h"

namespace emltool {

// Something to read, and how often it has killed a worker. The caller derives from it and owns it.
struct PoolTask {
    BatchItem item;
    unsigned deaths = 0;
};

// What became of a task.
struct PoolEvent {
    enum class Kind {
        kReply,
        kTimedOut,
        kDied,      // the worker died while reading it
        kGivenBack  // not read: its worker ended before
    };

    PoolTask* task = nullptr;
    Kind kind = Kind::kReply;
    RowKind row = RowKind::kError;
    std::string line;
    int status = 0;  // of the process that died
};

// Keeps a number of workers busy. They start when there is something to do; one that dies, hangs or runs out
// of memory is replaced. Each has at most two tasks, so that it need not wait for the next.
class WorkerPool {
  public:
    // `timeout` is for each task; 0 is none.
    WorkerPool(unsigned count, std::chrono::milliseconds timeout, WorkerProcess::Body body);

    bool hasRoom() const;
    bool isIdle() const;

    // Gives the task to a worker. Throws Problem if none can be started.
    void give(PoolTask& task);

    // Waits until a worker replies, one of `others` is ready, or `milliseconds` have passed (-1 is no limit).
    std::vector<PoolEvent> wait(std::span<pollfd> others, int milliseconds);

    // Extends the deadlines by a time in which replies could not be read.
    void extendDeadlines(std::chrono::steady_clock::duration time);

    // Lets the workers end and waits for them.
    void finish();

    // Ends them by force.
    void kill() { workers_.clear(); }

  private:
    using Clock = std::chrono::steady_clock;
    using Events = std::vector<PoolEvent>;

    struct Worker {
        std::unique_ptr<WorkerProcess> process;  // NULL until there is something to do
        std::deque<PoolTask*> tasks;             // the first is being read
        Clock::time_point deadline;
    };

    static constexpr size_t kTasksEach = 2;

    Worker& leastBusy();
    void start(Worker& worker);
    void listen(Worker& worker, Events& events);
    static void end(Worker& worker, PoolEvent::Kind kind, int status, Events& events);
    void killTimedOut(Events& events);
    int untilDeadline(int milliseconds) const;

    std::vector<Worker> workers_;
    std::chrono::milliseconds timeout_;
    WorkerProcess::Body body_;
};

}  // namespace emltool
