// One worker process, as its parent sees it.
#pragma once

#include <sys/types.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "standalone/unique_descriptor.h"
#include "tool/batch/frames.h"
#include "tool/system/child_process.h"

namespace emltool {

class WorkerProcess {
  public:
    // What the new process does with its ends of a socket and a pipe; the result is its exit code. It has the standard
    // streams, and no other descriptor.
    using Body = std::function<int(int tasks, int replies)>;

    // Throws Problem.
    explicit WorkerProcess(const Body& body) : WorkerProcess(makeSocket(), makePipe(), body) {}
    ~WorkerProcess() = default;
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    int taskPipe() const { return tasks_.get(); }
    int replyPipe() const { return replies_.get(); }

    // Adds a task to what is to be sent.
    void add(const BatchItem& item);

    // Sends what the socket takes now.
    void sendMore();
    bool hasMoreToSend() const { return !outgoing_.empty(); }

    // Reads what has arrived. False if the process has closed its end.
    bool receive();

    // The next whole reply. False if there is none yet, or if it is invalid, as broken() tells.
    bool nextReply(ReplyHeader& header, std::string& line);
    bool broken() const { return broken_; }

    // Kills it and returns the status of waitpid.
    int kill() { return process_.kill(); }

    // Lets it end when its tasks are done.
    void closeTasks() { tasks_.close(); }

    // Waits for the end of a process that ends by itself.
    int wait() { return process_.wait(); }

  private:
    struct Pipe {
        emlhost::UniqueDescriptor reading;
        emlhost::UniqueDescriptor writing;
    };

    // A file that goes with the byte at `place` of outgoing_.
    struct Passed {
        size_t place;
        SharedFile file;
    };

    static Pipe makePipe();
    static Pipe makeSocket();
    static pid_t launch(Pipe& tasks, Pipe& replies, const Body& body);
    WorkerProcess(Pipe tasks, Pipe replies, const Body& body);

    static constexpr size_t kPiece = size_t{64} << 10;

    ChildProcess process_;
    emlhost::UniqueDescriptor tasks_;
    emlhost::UniqueDescriptor replies_;
    std::string outgoing_;
    std::deque<Passed> files_;
    std::weak_ptr<const emlhost::UniqueDescriptor> lastFile_;  // that was added
    std::unique_ptr<char[]> piece_;                            // what one read brings
    std::string incoming_;
    size_t taken_ = 0;  // of incoming_
    bool broken_ = false;
};

}  // namespace emltool
