#include "tool/batch/sources.h"

#include <poll.h>
#include <unistd.h>

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
        found.item.offset = range.offset;
        found.item.length = range.length;
    } catch (const Problem& problem) {
        failed_ = true;
        found.problem = problem;
        found.item.index = scan_ == nullptr ? 0 : scan_->index();
    }
    return Next::kFound;
}

}  // namespace emltool
