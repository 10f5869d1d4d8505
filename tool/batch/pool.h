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
        kGivenBack  // not read: its worker ended before, or others may come to it sooner
    };

    PoolTask* task = nullptr;
    Kind kind = Kind::kReply;
    RowKind row = RowKind::kError;
    std::string line;
    int status = 0;  // of the process that died
};

// Keeps a number of workers busy. They start when there is something to do; one that dies, hangs or runs out
// of memory is replaced, and only the task that it was doing suffers. Each has several tasks, so that it need not wait
// for the next: at least two, and as many as it does in a few milliseconds.
class WorkerPool {
  public:
    // `timeout` is for each task; 0 is none.
    WorkerPool(unsigned count, std::chrono::milliseconds timeout, WorkerProcess::Body body);

    bool hasRoom() const;
    bool isIdle() const;

    // Gives the task to a worker. Throws Problem if none can be started.
    void give(PoolTask& task);

    // Sends what was given, and waits until a worker replies, one of `others` is ready, or `milliseconds`
    // have passed (-1 is no limit). Of the tasks that are given back, the last one comes first.
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
        std::chrono::nanoseconds average{};  // time of a task; 0 until one is done

        size_t room() const;  // the number of tasks that it should have
    };

    Worker& leastBusy();
    void start(Worker& worker);
    void sendTasks();
    bool areBusy() const;
    void listen(Worker& worker, Events& events);
    static void noteTime(Worker& worker, uint64_t nanoseconds);
    static void end(Worker& worker, PoolEvent::Kind kind, int status, Events& events);
    void killTimedOut(Events& events);
    int untilDeadline(int milliseconds) const;

    std::vector<Worker> workers_;
    std::chrono::milliseconds timeout_;
    WorkerProcess::Body body_;
};

}  // namespace emltool
