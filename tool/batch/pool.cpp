#include "tool/batch/pool.h"

#include <algorithm>
#include <iterator>
#include <thread>

namespace emltool {

namespace {

constexpr size_t kMinTasks = 2;
constexpr size_t kMaxTasks = 64;
constexpr std::chrono::milliseconds kQueued{4};  // work that a worker should have ahead

// While all workers have so many tasks ahead, more replies are awaited before they are read, all in one go.
constexpr size_t kPlenty = 16;
constexpr std::chrono::microseconds kPause{250};

}  // namespace

WorkerPool::WorkerPool(unsigned count, std::chrono::milliseconds timeout, WorkerProcess::Body body)
    : workers_(count), timeout_(timeout), body_(std::move(body)) {}

bool WorkerPool::hasRoom() const {
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.tasks.size() < worker.room(); });
}

bool WorkerPool::isIdle() const {
    return std::all_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.tasks.empty(); });
}

size_t WorkerPool::Worker::room() const {
    if (average.count() == 0) return kMinTasks;
    return std::clamp(static_cast<size_t>(std::chrono::nanoseconds(kQueued) / average), kMinTasks, kMaxTasks);
}

// A waiting worker comes before one that must be started.
WorkerPool::Worker& WorkerPool::leastBusy() {
    auto isFull = [](const Worker& worker) { return worker.tasks.size() >= worker.room(); };
    return *std::min_element(workers_.begin(), workers_.end(), [&](const Worker& a, const Worker& b) {
        if (isFull(a) != isFull(b)) return isFull(b);
        return a.tasks.size() != b.tasks.size() ? a.tasks.size() < b.tasks.size()
                                                : a.process != nullptr && b.process == nullptr;
    });
}

void WorkerPool::start(Worker& worker) {
    worker.process =
        std::make_unique<WorkerProcess>([this](int tasks, int replies) { return body_(tasks, replies); });
}

void WorkerPool::give(PoolTask& task) {
    Worker& worker = leastBusy();
    if (worker.process == nullptr) start(worker);
    if (worker.tasks.empty()) worker.deadline = Clock::now() + timeout_;
    worker.tasks.push_back(&task);
    worker.process->add(task.item);
    // One that has others to do can wait until more are sent together.
    if (worker.tasks.size() == 1) worker.process->sendMore();
}

void WorkerPool::sendTasks() {
    for (Worker& worker : workers_) {
        if (worker.process != nullptr && worker.process->hasMoreToSend()) worker.process->sendMore();
    }
}

bool WorkerPool::areBusy() const {
    return std::all_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return worker.tasks.size() >= kPlenty; });
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
    sendTasks();
    if (areBusy()) std::this_thread::sleep_for(kPause);
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
    Events unread;
    while (!retires && !worker.tasks.empty() && worker.process->nextReply(header, line)) {
        const auto row = static_cast<RowKind>(header.kind);
        if (row == RowKind::kUnread) {
            unread.push_back({worker.tasks.front(), PoolEvent::Kind::kGivenBack, row, "", 0});
        } else {
            events.push_back({worker.tasks.front(), PoolEvent::Kind::kReply, row, std::move(line), 0});
            noteTime(worker, header.nanoseconds);
        }
        worker.tasks.pop_front();
        retires = header.retires != 0;
    }
    events.insert(events.end(), std::make_move_iterator(unread.rbegin()),
                  std::make_move_iterator(unread.rend()));
    if (retires) {
        end(worker, PoolEvent::Kind::kGivenBack, worker.process->kill(), events);
    } else if (worker.process->broken()) {
        end(worker, PoolEvent::Kind::kDied, worker.process->kill(), events);
    } else if (!open) {
        end(worker, PoolEvent::Kind::kDied, worker.process->wait(), events);
    }
}

// The newest eighth of the average is this time.
void WorkerPool::noteTime(Worker& worker, uint64_t nanoseconds) {
    constexpr uint64_t kLongest = 1'000'000'000;
    const std::chrono::nanoseconds time(std::clamp<uint64_t>(nanoseconds, 1, kLongest));
    worker.average =
        worker.average.count() == 0 ? time : (worker.average * 7 + time + std::chrono::nanoseconds(7)) / 8;
}

// The task that the worker was doing ended as `kind` says; its other tasks are given back.
void WorkerPool::end(Worker& worker, PoolEvent::Kind kind, int status, Events& events) {
    worker.process.reset();
    for (size_t i = worker.tasks.size(); i-- > 0;) {
        events.push_back(
            {worker.tasks[i], i == 0 ? kind : PoolEvent::Kind::kGivenBack, RowKind::kError, "", status});
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
