// One worker process, as its parent sees it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

#include "standalone/unique_descriptor.h"
#include "tool/batch/frames.h"
#include "tool/system/child_process.h"

namespace emltool {

class WorkerProcess {
  public:
    // What the new process does with its ends of the pipes; the result is its exit code.
    using Body = std::function<int(int tasks, int replies)>;

    // Throws Problem.
    explicit WorkerProcess(const Body& body) : WorkerProcess(makePipe(), makePipe(), body) {}
    ~WorkerProcess() = default;
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    int taskPipe() const { return tasks_.get(); }
    int replyPipe() const { return replies_.get(); }

    // Sends what the pipe takes now; the rest is sent when it takes more.
    void send(const std::string& bytes);
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

    static Pipe makePipe();
    static pid_t launch(Pipe& tasks, Pipe& replies, const Body& body);
    WorkerProcess(Pipe tasks, Pipe replies, const Body& body);

    ChildProcess process_;
    emlhost::UniqueDescriptor tasks_;
    emlhost::UniqueDescriptor replies_;
    std::string outgoing_;
    std::string incoming_;
    size_t taken_ = 0;  // of incoming_
    bool broken_ = false;
};

}  // namespace emltool
