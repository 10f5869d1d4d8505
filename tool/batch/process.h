// One worker process, as its parent sees it.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

#include "standalone/unique_descriptor.h"
#include "tool/batch/frames.h"

namespace emltool {

class WorkerProcess {
  public:
    // What the new process does with its ends of the pipes; it ends with the code that this gives.
    using Body = std::function<int(int tasks, int replies)>;

    // Throws Problem.
    explicit WorkerProcess(const Body& body) : WorkerProcess(makePipe(), makePipe(), body) {}
    ~WorkerProcess() { kill(); }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    int taskPipe() const { return tasks_.get(); }
    int replyPipe() const { return replies_.get(); }

    // Sends what the pipe takes now; the rest is sent when it takes more.
    void send(const std::string& bytes);
    void sendMore();
    bool hasMoreToSend() const { return !outgoing_.empty(); }

    // Takes what has come. False when the process has closed its end.
    bool receive();

    // The next whole reply. False when there is none yet, or when it makes no sense, which `broken` says.
    bool nextReply(ReplyHeader& header, std::string& line);
    bool broken() const { return broken_; }

    // Ends it, by force, and gives the status that wait knows.
    int kill();

    // Lets it end when it has nothing more to do.
    void closeTasks() { tasks_.close(); }

    // Waits for the end of a process that ends by itself.
    int wait();

  private:
    struct Pipe {
        emlhost::UniqueDescriptor reading;
        emlhost::UniqueDescriptor writing;
    };

    static Pipe makePipe();
    static pid_t launch(Pipe& tasks, Pipe& replies, const Body& body);
    WorkerProcess(Pipe tasks, Pipe replies, const Body& body);

    pid_t id_;  // -1 is none
    emlhost::UniqueDescriptor tasks_;
    emlhost::UniqueDescriptor replies_;
    std::string outgoing_;
    std::string incoming_;
    size_t taken_ = 0;  // of incoming_
    bool broken_ = false;
};

// What a new process does first: from here on it ends with its parent, however that ends, and by nothing that
// was meant for the parent, as Ctrl-C is. When memory is short it goes before its parent.
void becomeWorker(pid_t parent);

// "crashed (SIGSEGV)" or "ended with exit code 3".
std::string describeStatus(int status);

}  // namespace emltool
