#include "tool/batch/pool.h"

#include <algorithm>

namespace emltool {

WorkerPool::WorkerPool(unsigned count, std::chrono::milliseconds timeout, WorkerProcess::Body body)
    : workers_(count), timeout_(timeout), body_(std::move(body)) {}

bool WorkerPool::hasRoom() const {
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.tasks.size() < kTasksEach; });
}

bool WorkerPool::isIdle() const {
    return std::all_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.tasks.empty(); });
}

// A waiting worker comes before one that must be started.
WorkerPool::Worker& WorkerPool::leastBusy() {
    return *std::min_element(workers_.begin(), workers_.end(), [](const Worker& a, const Worker& b) {
        return a.tasks.size() != b.tasks.size() ? a.tasks.size() < b.tasks.size()
                                                : a.process != nullptr && b.process == nullptr;
    });
}

void WorkerPool::start(Worker& worker) {
    worker.process = std::make_unique<WorkerProcess>([this](int tasks, int replies) {
        // It must not hold the pipes of the other workers open: they would not see the end of their input.
        for (Worker& other : workers_) {
            if (other.process == nullptr) continue;
            ::close(other.process->taskPipe());
            ::close(other.process->replyPipe());
        }
        return body_(tasks, replies);
    });
}

void WorkerPool::give(PoolTask& task) {
    Worker& worker = leastBusy();
    if (worker.process == nullptr) start(worker);
    if (worker.tasks.empty()) worker.deadline = Clock::now() + timeout_;
    worker.tasks.push_back(&task);
    worker.process->send(taskFrame(task.item));
}

void WorkerPool::extendDeadlines(Clock::duration time) {
    for (Worker& worker : workers_) worker.deadline += time;
}

int WorkerPool::untilDeadline(int milliseconds) const {
    if (timeout_.count() == 0) return milliseconds;
    for (const Worker& worker : workers_) {
        if (worker.tasks.empty()) continue;
        auto left = std::chrono::ceil<std::chrono::milliseconds>(worker.deadline - Clock::now()).count();
        int untilThen = static_cast<int>(std::clamp<decltype(left)>(left, 0, 3600'000));
        milliseconds = milliseconds < 0 ? untilThen : std::min(milliseconds, untilThen);
    }
    return milliseconds;
}

std::vector<PoolEvent> WorkerPool::wait(std::span<pollfd> others, int milliseconds) {
    std::vector<pollfd> polled(others.begin(), others.end());
    std::vector<Worker*> whose;
    for (Worker& worker : workers_) {
        if (worker.process == nullptr) continue;
        polled.push_back({worker.process->replyPipe(), POLLIN, 0});
        whose.push_back(&worker);
        // poll reports a closed pipe even if nobody asked; it skips a negative descriptor.
        int tasks = worker.process->hasMoreToSend() ? worker.process->taskPipe() : -1;
        polled.push_back({tasks, POLLOUT, 0});
    }
    int ready = ::poll(polled.data(), polled.size(), untilDeadline(milliseconds));
    Events events;
    for (size_t i = 0; i < others.size(); ++i) others[i].revents = ready > 0 ? polled[i].revents : short{0};
    if (ready > 0) {
        for (size_t i = 0; i < whose.size(); ++i) {
            const pollfd* pipes = &polled[others.size() + 2 * i];
            if (pipes[1].revents != 0) whose[i]->process->sendMore();
            if (pipes[0].revents != 0) listen(*whose[i], events);
        }
    }
    killTimedOut(events);
    return events;
}

void WorkerPool::listen(Worker& worker, Events& events) {
    bool open = worker.process->receive();
    worker.deadline = Clock::now() + timeout_;
    bool retires = false;
    ReplyHeader header{};
    std::string line;
    while (!retires && !worker.tasks.empty() && worker.process->nextReply(header, line)) {
        events.push_back({worker.tasks.front(), PoolEvent::Kind::kReply, static_cast<RowKind>(header.kind),
                          std::move(line), 0});
        worker.tasks.pop_front();
        retires = header.retires != 0;
    }
    if (retires) {
        end(worker, PoolEvent::Kind::kGivenBack, worker.process->kill(), events);
    } else if (worker.process->broken()) {
        end(worker, PoolEvent::Kind::kDied, worker.process->kill(), events);
    } else if (!open) {
        end(worker, PoolEvent::Kind::kDied, worker.process->wait(), events);
    }
}

// The task that the worker was doing ended as `kind` says; its other tasks are given back.
void WorkerPool::end(Worker& worker, PoolEvent::Kind kind, int status, Events& events) {
    worker.process.reset();
    for (PoolTask* task : worker.tasks) {
        events.push_back({task, kind, RowKind::kError, "", status});
        kind = PoolEvent::Kind::kGivenBack;
    }
    worker.tasks.clear();
}

// Looks once more for a reply: a worker that has replied is not late.
void WorkerPool::killTimedOut(Events& events) {
    if (timeout_.count() == 0) return;
    for (Worker& worker : workers_) {
        if (worker.tasks.empty() || Clock::now() < worker.deadline) continue;
        pollfd reply{worker.process->replyPipe(), POLLIN, 0};
        if (::poll(&reply, 1, 0) > 0) continue;
        int status = worker.process->kill();
        end(worker, PoolEvent::Kind::kTimedOut, status, events);
    }
}

void WorkerPool::finish() {
    for (Worker& worker : workers_) {
        if (worker.process != nullptr) worker.process->closeTasks();
    }
    for (Worker& worker : workers_) {
        if (worker.process != nullptr) worker.process->wait();
        worker.process.reset();
    }
}

}  // namespace emltool
