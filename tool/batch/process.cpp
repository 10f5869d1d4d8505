#include "tool/batch/process.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "tool/system/file_passing.h"

namespace emltool {

namespace {

[[noreturn]] void failToStart(int failure) {
    throw Problem(ExitCode::kInternal, "no-worker", "",
                  "cannot start a worker process: " + describe({failure, std::system_category()}));
}

// Closes all descriptors but the standard streams and these two, which get numbers that follow each other. Returns the
// first; -1 on failure.
int keepOnly(int tasks, int replies) {
    constexpr int kTasks = STDERR_FILENO + 1;
    constexpr int kReplies = kTasks + 1;
    const int first = ::fcntl(tasks, F_DUPFD_CLOEXEC, kReplies + 1);
    const int second = ::fcntl(replies, F_DUPFD_CLOEXEC, kReplies + 1);
    if (first < 0 || second < 0) return -1;
    if (::dup3(first, kTasks, O_CLOEXEC) < 0 || ::dup3(second, kReplies, O_CLOEXEC) < 0) return -1;
    return ::close_range(kReplies + 1, ~0U, 0) == 0 ? kTasks : -1;
}

}  // namespace

WorkerProcess::Pipe WorkerProcess::makePipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) failToStart(errno);
    return {emlhost::UniqueDescriptor(ends[0]), emlhost::UniqueDescriptor(ends[1])};
}

// Descriptors can be sent through a socket only.
WorkerProcess::Pipe WorkerProcess::makeSocket() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) failToStart(errno);
    return {emlhost::UniqueDescriptor(ends[0]), emlhost::UniqueDescriptor(ends[1])};
}

pid_t WorkerProcess::launch(Pipe& tasks, Pipe& replies, const Body& body) {
    pid_t parent = ::getpid();
    pid_t child = ::fork();
    if (child < 0) failToStart(errno);
    if (child == 0) {
        becomeWorker(parent);
        // What the parent has open is not the worker's: other workers would not see the end of their tasks, and what lies
        // in files without names would stay there.
        const int kept = keepOnly(tasks.reading.get(), replies.writing.get());
        ::_exit(kept < 0 ? static_cast<int>(ExitCode::kInternal) : body(kept, kept + 1));
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

void WorkerProcess::add(const BatchItem& item) {
    TaskFile file = TaskFile::kNamed;
    if (item.file != nullptr) {
        file = item.file == lastFile_.lock() ? TaskFile::kSame : TaskFile::kNew;
        if (file == TaskFile::kNew) files_.push_back({outgoing_.size(), item.file});
        lastFile_ = item.file;
    }
    appendTask(outgoing_, item, file);
}

// The other pipe tells that a worker has ended.
void WorkerProcess::sendMore() {
    size_t sent = 0;
    while (sent < outgoing_.size()) {
        const bool hasFile = !files_.empty() && files_.front().place == sent;
        const size_t next = hasFile ? 1 : 0;
        const size_t end = files_.size() > next ? files_[next].place : outgoing_.size();
        const std::string_view piece = std::string_view(outgoing_).substr(sent, end - sent);
        const ssize_t written = sendWithFile(tasks_.get(), piece, hasFile ? files_.front().file->get() : -1);
        if (written < 0 && errno != EAGAIN) sent = outgoing_.size();
        if (written < 0) break;
        if (hasFile) files_.pop_front();
        sent += static_cast<size_t>(written);
    }
    outgoing_.erase(0, sent);
    if (outgoing_.empty()) files_.clear();
    for (Passed& passed : files_) passed.place -= sent;
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
