#include "tool/archive/mbox.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "tool/archive/file_bytes.h"
#include "tool/archive/mail_lines.h"

namespace emltool {

namespace {

constexpr size_t kBlock = size_t{256} << 10;

}  // namespace

MboxScan::MboxScan(const std::string& path) : MboxScan(std::make_unique<FileBytes>(path)) {}

MboxScan::MboxScan(std::string path, SharedFile file)
    : MboxScan(std::make_unique<FileBytes>(std::move(path), std::move(file))) {}

MboxScan::MboxScan(std::unique_ptr<ByteSource> bytes) : bytes_(std::move(bytes)), buffer_(kBlock) {}

// Moves to the next line, in as many calls as the bytes take to come.
ByteSource::Got MboxScan::nextLine() {
    constexpr size_t kHead = 128;
    if (!isInLine_) {
        lineStart_ = lineEnd_;
        head_.clear();
        isInLine_ = true;
    }
    for (;;) {
        if (at_ == filled_) {
            at_ = filled_ = 0;
            const Got got = bytes_->readAt(lineEnd_, buffer_, filled_);
            if (got == Got::kLater) return got;
            isInLine_ = got == Got::kBytes;
            if (!isInLine_) return lineEnd_ > lineStart_ ? Got::kBytes : Got::kEnd;
        }
        const char* from = buffer_.data() + at_;
        const auto* end = static_cast<const char*>(std::memchr(from, '\n', filled_ - at_));
        size_t piece = end != nullptr ? static_cast<size_t>(end - from) + 1 : filled_ - at_;
        head_.append(from, std::min(piece, kHead - head_.size()));
        at_ += piece;
        lineEnd_ += piece;
        isInLine_ = end == nullptr;
        if (end != nullptr) return Got::kBytes;
    }
}

// A new message begins at `start`.
void MboxScan::begin(uint64_t start) {
    start_ = start;
    postmark_.reset();
    emptyLine_.reset();
    claimed_.reset();
    length_ = {};
    isInHeader_ = true;
    hasFrom_ = false;
}

MboxRange MboxScan::ended(uint64_t end) {
    // An unquoted line tells that none is quoted.
    return {index_++, start_, end - start_, !(state_ == State::kInClaim && hasFrom_)};
}

// The header is over. What it says of the length is examined once the bytes there can be read.
void MboxScan::endHeader() {
    isInHeader_ = false;
    const std::optional<uint64_t> claim = length_.value();
    if (!claim || *claim > bytes_->reach() ||
        *claim > std::numeric_limits<uint64_t>::max() - lineEnd_ - kEndSeen)
        return;
    claimed_ = lineEnd_ + *claim;
    ahead_.clear();
    state_ = State::kAtClaim;
}

// One place is looked at for each message, so what all of them say costs no more than reading them.
ByteSource::Got MboxScan::examineClaim() {
    while (ahead_.size() < kEndSeen) {
        char room[kEndSeen];
        size_t count = 0;
        const Got got =
            bytes_->readAt(*claimed_ - 1 + ahead_.size(), {room, kEndSeen - ahead_.size()}, count);
        if (got == Got::kLater) return got;
        if (got == Got::kEnd) break;
        ahead_.append(room, count);
    }
    state_ = isMessageEnd(ahead_) ? State::kInClaim : State::kInLines;
    return Got::kBytes;
}

// The line as what follows from its being one of a message whose length is not known. True if it ends the message.
bool MboxScan::takeLine(MboxRange& range) {
    if (emptyLine_ && beginsMbox(head_)) {
        range = ended(*emptyLine_);
        begin(lineEnd_);
        return true;
    }
    if (postmark_ && isHeaderField(head_)) {
        range = ended(*postmark_);
        begin(lineStart_);
        length_.takeLine(head_);
        return true;
    }
    postmark_.reset();
    if (isPostmark(head_)) postmark_ = lineStart_;
    emptyLine_.reset();
    if (isEmptyLine(head_)) emptyLine_ = lineStart_;
    if (!isInHeader_) return false;
    length_.takeLine(head_);
    if (emptyLine_) endHeader();
    return false;
}

MboxScan::Got MboxScan::atEnd(MboxRange& range) {
    const bool isBetween = state_ == State::kAfterClaim;
    if (!isBetween) range = ended(emptyLine_ && state_ != State::kInClaim ? *emptyLine_ : lineEnd_);
    state_ = State::kEnded;
    return isBetween ? Got::kEnd : Got::kBytes;
}

MboxScan::Got MboxScan::step(MboxRange& range) {
    for (;;) {
        if (state_ == State::kEnded) return Got::kEnd;
        if (state_ == State::kAtClaim && examineClaim() == Got::kLater) return Got::kLater;
        if (state_ == State::kInClaim && lineEnd_ >= *claimed_) {
            range = ended(*claimed_);
            state_ = State::kAfterClaim;
            return Got::kBytes;
        }
        const Got got = nextLine();
        if (got == Got::kLater) return got;
        if (got == Got::kEnd && state_ != State::kAtBegin) return atEnd(range);
        switch (state_) {
            case State::kAfterClaim:
                if (!beginsMbox(head_)) break;  // the empty line
                [[fallthrough]];
            case State::kAtBegin:
                begin(lineEnd_);
                state_ = State::kInLines;
                break;
            case State::kInClaim:
                hasFrom_ = hasFrom_ || beginsMbox(head_);
                break;
            default:
                if (takeLine(range)) return Got::kBytes;
        }
    }
}

}  // namespace emltool
