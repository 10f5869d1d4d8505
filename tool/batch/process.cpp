#include "tool/batch/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace emltool {

namespace {

[[noreturn]] void failToStart(int failure) {
    throw Problem(ExitCode::kInternal, "no-worker", "",
                  "cannot start a worker process: " + describe({failure, std::system_category()}));
}

}  // namespace

WorkerProcess::Pipe WorkerProcess::makePipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) failToStart(errno);
    return {emlhost::UniqueDescriptor(ends[0]), emlhost::UniqueDescriptor(ends[1])};
}

pid_t WorkerProcess::launch(Pipe& tasks, Pipe& replies, const Body& body) {
    pid_t parent = ::getpid();
    pid_t child = ::fork();
    if (child < 0) failToStart(errno);
    if (child == 0) {
        becomeWorker(parent);
        tasks.writing.close();
        replies.reading.close();
        ::_exit(body(tasks.reading.get(), replies.writing.get()));
    }
    return child;
}

WorkerProcess::WorkerProcess(Pipe tasks, Pipe replies, const Body& body)
    : process_(launch(tasks, replies, body)),
      tasks_(std::move(tasks.writing)),
      replies_(std::move(replies.reading)),
      piece_(std::make_unique_for_overwrite<char[]>(kPiece)) {
    for (int end : {tasks_.get(), replies_.get()}) ::fcntl(end, F_SETFL, O_NONBLOCK);
}

// The other pipe tells that a worker has ended.
void WorkerProcess::sendMore() {
    while (!outgoing_.empty()) {
        ssize_t written = ::write(tasks_.get(), outgoing_.data(), outgoing_.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno != EAGAIN) outgoing_.clear();
        if (written < 0) return;
        outgoing_.erase(0, static_cast<size_t>(written));
    }
}

bool WorkerProcess::receive() {
    incoming_.erase(0, taken_);
    taken_ = 0;
    ssize_t got = -1;
    do {
        got = ::read(replies_.get(), piece_.get(), kPiece);
    } while (got < 0 && errno == EINTR);
    if (got > 0) incoming_.append(piece_.get(), static_cast<size_t>(got));
    return got > 0 || (got < 0 && errno == EAGAIN);
}

bool WorkerProcess::nextReply(ReplyHeader& header, std::string& line) {
    std::string_view rest = std::string_view(incoming_).substr(taken_);
    if (broken_ || rest.size() < sizeof header) return false;
    header = headerAt<ReplyHeader>(rest);
    constexpr uint64_t kMaxLineLength = uint64_t{1} << 40;
    auto last = static_cast<uint64_t>(RowKind::kUnread);
    broken_ =
        header.kind < 1 || header.kind > last || header.retires > 1 || header.lineLength > kMaxLineLength;
    if (broken_ || rest.size() - sizeof header < header.lineLength) return false;
    line.assign(rest, sizeof header, static_cast<size_t>(header.lineLength));
    taken_ += sizeof header + line.size();
    return true;
}

}  // namespace emltool
