#include "tool/batch/run.h"

#include <fcntl.h>

#include <algorithm>
#include <iterator>

#include "tool/batch/database_output.h"
#include "tool/batch/row_output.h"
#include "tool/system/ending_signals.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

constexpr size_t kMaxSlots = 4096;                  // rows and tasks that wait for an earlier one
constexpr size_t kMaxHeldBytes = size_t{64} << 20;  // in such rows
constexpr unsigned kMaxDeaths = 3;                  // of workers, of one message

// A worker must not hold the parent's input and output open.
void leaveStreams() {
    int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nothing, STDOUT_FILENO);
    if (nothing > STDERR_FILENO) ::close(nothing);
}

Problem timeoutProblem(const std::string& path, std::chrono::milliseconds timeout) {
    double seconds = std::chrono::duration<double>(timeout).count();
    return {ExitCode::kInternal, "timeout", path, formatted("not read within {:g} s", seconds)};
}

Problem deathProblem(const std::string& path, int status) {
    return {ExitCode::kInternal, "crashed", path,
            formatted("the reader {}, {} times", describeStatus(status), kMaxDeaths)};
}

Problem zeroByteProblem(const std::string& path) {
    return {ExitCode::kInput, "no-such-file", path,
            "no such file; the path holds a zero byte (is -0 missing?)"};
}

std::unique_ptr<RowSink> openOutput(const BatchOptions& options, FinishedRows& finished) {
    if (isDatabasePath(options.output))
        return std::make_unique<DatabaseOutput>(options.output, options.resume, finished);
    return std::make_unique<RowOutput>(RowOutput::Form{options.output, options.resume, options.threads},
                                       finished);
}

}  // namespace

BatchRun::BatchRun(const BatchOptions& options, Console& console)
    : options_(options),
      console_(console),
      output_(openOutput(options, finished_)),
      progress_(console, options.output.empty()),
      forecast_({options.paths, options.pattern, options.shard, options.shards},
                [this](const struct stat& file) { return output_->isSameFile(file); }),
      pool_(options.jobs, options.timeout, [this](int tasks, int replies) {
          leaveStreams();
          return workThrough(tasks, replies, options_.worker);
      }) {}

BatchRun::~BatchRun() = default;

BatchCounts BatchRun::run() {
    EndingSignals signals;
    open(slots_.end(), std::make_unique<ArgumentSource>(options_.paths, options_.separator));
    for (;;) {
        bool more = fill();
        deliver();
        if (slots_.empty()) break;
        wait(signals.descriptor(), more);
        deliver();
        if (EndingSignals::caught() != 0) endBySignal();
        if (isLong_) forecast_.look();
        if (progress_.due()) showProgress();
    }
    pool_.finish();
    if (options_.threads && !addThreads()) endBySignal();
    output_->finish();
    return counts_;
}

// Waits for workers, sources and signals. `more` tells that there is something to do besides.
void BatchRun::wait(int signals, bool more) {
    std::vector<pollfd> others{{signals, POLLIN, 0}};
    int milliseconds = untilWork(more);
    for (const ItemSource* source : awaited_) {
        others.push_back({source->descriptor(), POLLIN, 0});
        const int patience = source->patience();
        if (patience >= 0) milliseconds = milliseconds < 0 ? patience : std::min(milliseconds, patience);
    }
    const auto begin = std::chrono::steady_clock::now();
    std::vector<PoolEvent> events = pool_.wait(others, milliseconds);
    const auto time = std::chrono::steady_clock::now() - begin;
    for (ItemSource* source : awaited_) source->waited(time);
    awaited_.clear();
    for (PoolEvent& event : events) handle(event);
}

// Gives the workers as much as they have room for. False if nothing more can be given now; true also after
// much work without an end, since replies must be read in between.
bool BatchRun::fill() {
    constexpr int kMaxSteps = 1000;
    awaited_.clear();
    for (int i = 0; i < kMaxSteps; ++i) {
        if (!pool_.hasRoom()) return false;
        if (!again_.empty()) {
            pool_.give(*again_.front());
            again_.pop_front();
        } else {
            const ItemSource::Next next = take();
            if (next == ItemSource::Next::kMore) return true;
            if (next == ItemSource::Next::kLater) return false;
        }
    }
    return true;
}

// One step of one source. kLater: there is nothing to take now.
ItemSource::Next BatchRun::take() {
    using Next = ItemSource::Next;
    awaited_.clear();
    if (open_.empty()) return Next::kLater;
    bool isFull = isOrdered() && (slots_.size() >= kMaxSlots || heldBytes_ >= kMaxHeldBytes);
    // The first slot must always advance, or nothing ever would.
    if (isFull && slots_.front().source == nullptr) return Next::kLater;
    for (size_t i = open_.size(); i-- > 0;) {
        Slot& slot = isFull ? slots_.front() : *open_[i];
        FoundItem found;
        const Next next = slot.source->next(found);
        if (next == Next::kMore) return next;
        if (next == Next::kLater || next == Next::kAway) awaited_.push_back(slot.source.get());
        if (next == Next::kLater || (next == Next::kAway && isFull)) return Next::kLater;
        if (next == Next::kAway) continue;
        if (next == Next::kEnd) {
            std::erase(open_, &slot);
            slots_.erase(slot.self);
        } else {
            add(slot, std::move(found));
        }
        return Next::kFound;
    }
    return Next::kLater;
}

void BatchRun::open(Slots::iterator before, std::unique_ptr<ItemSource> source) {
    Slot& slot = insert(before);
    slot.source = std::move(source);
    addOpen(slot);
}

// Those that have begun with something large end first.
void BatchRun::addOpen(Slot& slot) {
    auto place = open_.end();
    while (place != open_.begin() && (*std::prev(place))->source->isBusy()) --place;
    open_.insert(place, &slot);
}

BatchRun::Slot& BatchRun::insert(Slots::iterator before) {
    auto slot = slots_.emplace(before);
    slot->self = slot;
    return *slot;
}

// Puts what was found before the open slot that it came from.
void BatchRun::add(Slot& before, FoundItem found) {
    const BatchItem& item = found.item;
    if (found.leftOut != nullptr) {
        progress_.clear();
        console_.warn(item.member ? formatted("{}: {}", item.path, *item.member) : item.path,
                      formatted("left out: {}", found.leftOut));
        return;
    }
    if (found.source != nullptr) {
        open(before.self, std::move(found.source));
        return;
    }
    // All messages of an mbox belong to the shard that has its path.
    const bool isWhole = !item.index && !item.stored;
    if (isWhole && options_.shards > 1 && shardOf(item.path, options_.shards) != options_.shard) {
        if (found.named && isFolder(item.path)) {
            open(before.self, std::make_unique<FolderSource>(item.path, options_.pattern));
        }
        return;
    }
    if (isOutput(item)) return;
    const bool hasZero = item.path.find('\0') != std::string::npos;
    if (isWhole && found.named && !hasZero && isPipe(item.path)) {
        const auto from = ArchiveSource::From::kPipe;
        open(before.self, std::make_unique<ArchiveSource>(item.path, from, options_.timeout));
        return;
    }
    if (finished_.take(item.path, item.index)) {
        ++counts_.finished;
        if (progress_.isOn()) forecast_.addFinished(item);
        return;
    }
    if (hasZero) found.problem = zeroByteProblem(item.path);
    Slot& slot = insert(before.self);
    slot.item = std::move(found.item);
    if (found.problem) {
        settle(slot, problemRow(options_.worker.row.form, slot.item, *found.problem), true);
    } else {
        pool_.give(slot);
    }
}

// The rows themselves may lie in a folder that is read.
bool BatchRun::isOutput(const BatchItem& item) const {
    struct stat found {};
    return output_->isFile() && !item.index && ::stat(item.path.c_str(), &found) == 0 &&
           output_->isSameFile(found);
}

void BatchRun::handle(PoolEvent& event) {
    auto& slot = static_cast<Slot&>(*event.task);
    const std::string& path = slot.item.path;
    switch (event.kind) {
        case PoolEvent::Kind::kGivenBack:
            again_.push_front(&slot);
            return;
        case PoolEvent::Kind::kTimedOut:
            settle(slot,
                   problemRow(options_.worker.row.form, slot.item, timeoutProblem(path, options_.timeout)),
                   true);
            return;
        case PoolEvent::Kind::kDied:
            // Another program may have killed the worker, so the message has another chance.
            if (++slot.deaths < kMaxDeaths) {
                again_.push_back(&slot);
            } else {
                settle(slot,
                       problemRow(options_.worker.row.form, slot.item, deathProblem(path, event.status)),
                       true);
            }
            return;
        case PoolEvent::Kind::kReply:
            break;
    }
    switch (event.row) {
        case RowKind::kFolder:
            slot.source = std::make_unique<FolderSource>(path, options_.pattern);
            break;
        case RowKind::kMbox:
            slot.source = std::make_unique<MboxSource>(path);
            break;
        case RowKind::kArchive:
            slot.source = std::make_unique<ArchiveSource>(path, ArchiveSource::From::kFile, options_.timeout);
            break;
        default:
            settle(slot, std::move(event.line), event.row == RowKind::kError);
            return;
    }
    addOpen(slot);
}

void BatchRun::settle(Slot& slot, std::string row, bool isError) {
    ++counts_.rows;
    if (progress_.isOn()) forecast_.addDone(slot.item);
    if (isError) ++counts_.errors;
    slot.item.file.reset();
    if (isOrdered()) {
        heldBytes_ += row.size();
        slot.row = std::move(row);
        slot.done = true;
    } else {
        ready_ += row;
        slots_.erase(slot.self);
    }
}

// Writes all rows whose turn it is.
void BatchRun::deliver() {
    while (!slots_.empty() && slots_.front().done) {
        ready_ += slots_.front().row;
        heldBytes_ -= slots_.front().row.size();
        slots_.pop_front();
    }
    if (ready_.empty()) return;
    auto begin = std::chrono::steady_clock::now();
    output_->write(ready_);
    ready_.clear();
    pool_.extendDeadlines(std::chrono::steady_clock::now() - begin);
}

// Milliseconds that may pass before there is something to do besides what workers and sources ask for.
int BatchRun::untilWork(bool more) const {
    return more || (isLong_ && forecast_.isLooking()) ? 0 : progress_.untilDue();
}

void BatchRun::showProgress() {
    isLong_ = true;
    forecast_.look();
    double seconds = progress_.seconds();
    double rate = seconds > 0 ? static_cast<double>(counts_.rows) / seconds : 0;
    std::string before = counts_.finished == 0 ? "" : formatted(" and {} from before", counts_.finished);
    progress_.show(formatted("{} message{}{}, {} with errors, {:.0f} a second{}", counts_.rows,
                             counts_.rows == 1 ? "" : "s", before, counts_.errors, rate,
                             forecast_.text(seconds)));
}

// Gives all rows their conversations, those of an earlier run too. False, with the rows as they were, if a signal has
// come.
bool BatchRun::addThreads() {
    const auto goesOn = [this] {
        if (progress_.due()) progress_.show("finding the conversations");
        return EndingSignals::caught() == 0;
    };
    return output_->addThreads(goesOn);
}

void BatchRun::endBySignal() {
    progress_.clear();
    pool_.kill();
    if (!options_.output.empty()) {
        console_.note(formatted(
            "stopped; {} is whole so far, and the same command with --resume continues it", options_.output));
    }
    EndingSignals::end();
}

}  // namespace emltool
