#include "tool/batch/sources.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tool/archive/archive_kind.h"
#include "tool/archive/file_bytes.h"
#include "tool/archive/plain_stream.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

FoundItem itemAt(std::string path, bool named) {
    FoundItem found;
    found.item.path = std::move(path);
    found.named = named;
    return found;
}

}  // namespace

ItemSource::Next ArgumentSource::next(FoundItem& found) {
    if (next_ == paths_.size()) return Next::kEnd;
    const std::string& path = paths_[next_++];
    found = itemAt(path, true);
    if (path == "-") found.source = std::make_unique<ListSource>(separator_);
    return Next::kFound;
}

ListSource::ListSource(char separator) : list_(STDIN_FILENO, separator) {}

// The writer of the paths may wait for rows, so this never waits.
ItemSource::Next ListSource::next(FoundItem& found) {
    std::string path;
    while (!list_.next(path)) {
        if (list_.atEnd()) return Next::kEnd;
        pollfd input{list_.descriptor(), POLLIN, 0};
        if (::poll(&input, 1, 0) <= 0) return Next::kLater;
        if (int failure = list_.read()) {
            throw Problem(ExitCode::kInput, "cannot-read", "standard input",
                          describe({failure, std::system_category()}));
        }
    }
    found = itemAt(std::move(path), true);
    return Next::kFound;
}

ItemSource::Next FolderSource::next(FoundItem& found) {
    FolderWalk::Entry entry;
    if (!walk_.next(entry)) return Next::kEnd;
    found = itemAt(std::move(entry.path), false);
    found.problem = std::move(entry.problem);
    found.leftOut = entry.leftOut;
    return Next::kFound;
}

// If an mbox cannot be read to its end, its last row says so.
ItemSource::Next MboxSource::next(FoundItem& found) {
    if (failed_) return Next::kEnd;
    found = itemAt(path_, false);
    try {
        if (scan_ == nullptr) scan_ = std::make_unique<MboxScan>(path_);
        MboxRange range;
        if (!scan_->next(range)) return Next::kEnd;
        found.item.index = range.index;
        found.item.hasPlace = true;
        found.item.offset = range.offset;
        found.item.length = range.length;
        found.item.weight = range.length;
        found.item.stored = StoredRange{range.offset, range.length, range.isQuoted};
    } catch (const Problem& problem) {
        failed_ = true;
        found.problem = problem;
        found.item.index = scan_ == nullptr ? 0 : scan_->index();
    }
    return Next::kFound;
}

bool isPipe(const std::string& path) {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode);
}

namespace {

// A pipe that nobody writes to yet must not stop everything here. Standard input may be what cannot be opened twice.
emlhost::UniqueDescriptor openPipe(const std::string& path) {
    struct stat named {};
    struct stat standard {};
    const bool isStandardInput = ::stat(path.c_str(), &named) == 0 && ::fstat(STDIN_FILENO, &standard) == 0 &&
                                 named.st_dev == standard.st_dev && named.st_ino == standard.st_ino;
    emlhost::UniqueDescriptor pipe(isStandardInput
                                       ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                       : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!pipe.valid()) throw inputProblem(path, {errno, std::system_category()});
    return pipe;
}

}  // namespace

int ArchiveSource::descriptor() const {
    if (mustWait_) return -1;
    return messages_ != nullptr ? messages_->descriptor() : pipe_.get();
}

int ArchiveSource::patience() const {
    if (timeout_.count() == 0 || mustWait_) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(timeout_ - waited_).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 3600'000));
}

// The beginning of a pipe says what it delivers.
ItemSource::Next ArchiveSource::begin() {
    if (from_ == From::kFile) {
        auto file = std::make_shared<emlhost::UniqueDescriptor>(openFile(path_));
        messages_ = std::make_unique<ArchiveMessages>(path_, file);
        return Next::kMore;
    }
    if (!pipe_.valid()) pipe_ = openPipe(path_);
    while (beginning_.size() < kArchiveBeginning) {
        const ByteSource::Got got = readReady(path_, pipe_.get(), beginning_);
        if (got == ByteSource::Got::kLater) return Next::kAway;
        if (got == ByteSource::Got::kEnd) break;
    }
    messages_ = std::make_unique<ArchiveMessages>(path_, std::move(pipe_), std::move(beginning_));
    return Next::kMore;
}

ItemSource::Next ArchiveSource::step(FoundItem& found) {
    constexpr uint64_t kMostHeld = uint64_t{256} << 20;
    if (messages_ == nullptr) return begin();
    mustWait_ = messages_->heldByOthers() > kMostHeld;
    if (mustWait_) return Next::kLater;
    ArchiveMessage message;
    switch (messages_->step(message)) {
        case ArchiveMessages::Step::kMore:
            return Next::kMore;
        case ArchiveMessages::Step::kLater:
            return from_ == From::kPipe ? Next::kAway : Next::kLater;
        case ArchiveMessages::Step::kEnd:
            return Next::kEnd;
        case ArchiveMessages::Step::kFound:
            break;
    }
    static_cast<MessageSource&>(found.item) = std::move(message.source);
    found.item.weight = message.weight;
    found.problem = std::move(message.problem);
    found.leftOut = message.leftOut;
    return Next::kFound;
}

ItemSource::Next ArchiveSource::next(FoundItem& found) {
    if (hasFailed_) return Next::kEnd;
    const auto begin = std::chrono::steady_clock::now();
    found = itemAt(path_, false);
    Next result = Next::kFound;
    try {
        result = step(found);
        waited_ += std::chrono::steady_clock::now() - begin;
        if (result == Next::kFound || mustWait_) waited_ = {};
        if (timeout_.count() == 0 || waited_ < timeout_) return result;
        found.problem = Problem(ExitCode::kInternal, "timeout", path_,
                                formatted("no message came within {:g} s; the rest is not read",
                                          std::chrono::duration<double>(timeout_).count()));
    } catch (const Problem& problem) {
        found = itemAt(path_, false);
        found.problem = problem;
    }
    hasFailed_ = true;
    const bool isCounted = from_ == From::kFile || (messages_ != nullptr && messages_->index() > 0);
    if (isCounted) found.item.index = messages_ != nullptr ? messages_->index() : 0;
    messages_.reset();
    return Next::kFound;
}

}  // namespace emltool
