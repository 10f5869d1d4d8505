#include "tool/batch/worker.h"

#include <unistd.h>

#include <chrono>
#include <deque>
#include <memory>
#include <new>

#include "standalone/write_all.h"
#include "tool/batch/frames.h"
#include "tool/html/html_parser.h"
#include "tool/message/smime.h"
#include "tool/message/tnef.h"
#include "tool/system/file_passing.h"
#include "tool/system/process_limits.h"
#include "tool/text/charset_guess.h"

namespace emltool {

namespace {

using Clock = std::chrono::steady_clock;

// What the parent has sent: as many tasks as one read brings.
class TaskPipe {
  public:
    explicit TaskPipe(int descriptor)
        : descriptor_(descriptor), piece_(std::make_unique_for_overwrite<char[]>(kPiece)) {}

    // The next task. False if the pipe has ended, or if all that has been read is done and `waits` is false.
    bool next(BatchItem& item, bool waits) {
        while (!take(item)) {
            if (!waits || !read()) return false;
        }
        return true;
    }

  private:
    static constexpr size_t kPiece = size_t{64} << 10;

    bool take(BatchItem& item) {
        TaskHeader header{};
        if (!takeTask(std::string_view(bytes_).substr(taken_), item, header)) return false;
        taken_ += sizeof header + static_cast<size_t>(header.pathLength + header.memberLength);
        if (header.file == TaskFile::kNew && !files_.empty()) {
            file_ = std::make_shared<emlhost::UniqueDescriptor>(std::move(files_.front()));
            files_.pop_front();
        }
        if (header.file != TaskFile::kNamed) item.file = file_;
        return true;
    }

    bool read() {
        bytes_.erase(0, taken_);
        taken_ = 0;
        const ssize_t got = receiveWithFiles(descriptor_, {piece_.get(), kPiece}, files_);
        if (got > 0) bytes_.append(piece_.get(), static_cast<size_t>(got));
        return got > 0;
    }

    int descriptor_;
    std::unique_ptr<char[]> piece_;
    std::string bytes_;
    size_t taken_ = 0;                             // of bytes_
    std::deque<emlhost::UniqueDescriptor> files_;  // that have come, in the order of their tasks
    SharedFile file_;                              // the one that came last
};

// At once: what a later message does to this process must not cost the row of an earlier one.
bool writeReply(int descriptor, const BatchRow& row, Clock::duration time) {
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
    std::string bytes;
    bytes.reserve(sizeof(ReplyHeader) + row.line.size());
    appendHeader(bytes, ReplyHeader{row.line.size(), static_cast<uint64_t>(row.kind),
                                    row.outOfMemory ? 1u : 0u, static_cast<uint64_t>(nanoseconds)});
    bytes += row.line;
    return emlhost::writeAll(descriptor, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}) == 0;
}

void loadLibraries() {
    for (auto* const isThere : {readsTnef, readsSmime, guessesCharsets, readsHtml}) isThere();
}

// Memory in addition to what the program itself takes. The hard limit stays, so that liftMemoryLimit can.
void limitMemory(uint64_t maxBytes) {
    if (maxBytes == 0) return;
    loadLibraries();  // which are part of the program
    setSoftLimit(RLIMIT_AS, static_cast<rlim_t>(addressSpace() + maxBytes));
}

// The row that reports the lack of memory needs some itself.
void liftMemoryLimit() { setSoftLimit(RLIMIT_AS, RLIM_INFINITY); }

BatchRow readWithinLimits(const BatchItem& item, const RowOptions& options) {
    try {
        return readItem(item, options);
    } catch (const std::bad_alloc&) {
        liftMemoryLimit();
        return {RowKind::kError, problemRow(options.form, item, outOfMemory(item.path)), true};
    }
}

// An item that takes longer may have others like it after it, and another worker may be idle.
constexpr std::chrono::milliseconds kLongTime{20};

// Gives back the items that wait here.
bool giveBack(TaskPipe& pipe, int replies) {
    BatchItem item;
    while (pipe.next(item, false)) {
        if (!writeReply(replies, {RowKind::kUnread, "", false}, {})) return false;
    }
    return true;
}

}  // namespace

int workThrough(int tasks, int replies, const WorkerOptions& options) noexcept {
    setSoftLimit(RLIMIT_CORE, 0);  // thousands of bad messages must not leave thousands of core files
    limitMemory(options.maxMemory);
    try {
        TaskPipe pipe(tasks);
        BatchItem item;
        while (pipe.next(item, true)) {
            const Clock::time_point begin = Clock::now();
            BatchRow row = readWithinLimits(item, options.row);
            const Clock::duration time = Clock::now() - begin;
            if (row.outOfMemory) liftMemoryLimit();
            if (!writeReply(replies, row, time) || row.outOfMemory) break;
            if (time >= kLongTime && !giveBack(pipe, replies)) break;
        }
        return 0;
    } catch (const std::exception&) {
        return static_cast<int>(ExitCode::kInternal);
    }
}

}  // namespace emltool
