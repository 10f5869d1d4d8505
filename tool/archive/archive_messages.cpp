#include "tool/archive/archive_messages.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <limits>

#include "tool/archive/archive_kind.h"
#include "tool/archive/emlx.h"
#include "tool/archive/mail_lines.h"
#include "tool/archive/plain_stream.h"
#include "tool/archive/unpack.h"
#include "tool/archive/unpacker.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

constexpr uint64_t kEachCall = uint64_t{1} << 20;  // bytes

using Got = ByteSource::Got;

std::string inGibibytes(uint64_t bytes) { return formatted("{} GiB", bytes >> 30); }

std::unique_ptr<MemberStream> membersOf(const std::string& path, emlhost::UniqueDescriptor pipe,
                                        std::string beginning, bool isPlain) {
    if (isPlain) return std::make_unique<PlainStream>(path, std::move(pipe), std::move(beginning));
    return std::make_unique<Unpacker>(path, pipe.get(), std::move(beginning));
}

}  // namespace

// The member that is being read, from its own beginning.
class ArchiveMessages::MemberBytes final : public ByteSource {
  public:
    explicit MemberBytes(ArchiveMessages& messages) : messages_(messages) {}

    // A member that fails gives no more, and no end: what was cut off is no message.
    Got readAt(uint64_t position, std::span<char> room, size_t& count) override {
        while (position >= messages_.memberLength()) {
            const Got got = messages_.grow();
            if (got == Got::kEnd && messages_.state_ != State::kWhole) return Got::kLater;
            if (got != Got::kBytes) return got;
        }
        count = messages_.window_.read(messages_.base_ + position, room);
        return Got::kBytes;
    }

    uint64_t reach() const override { return kMaxStreamedMessage; }

  private:
    ArchiveMessages& messages_;
};

ArchiveMessages::ArchiveMessages(std::string path, const SharedFile& file)
    : path_(std::move(path)), members_(std::make_unique<Unpacker>(path_, file->get(), "")) {}

ArchiveMessages::ArchiveMessages(std::string path, emlhost::UniqueDescriptor pipe, std::string beginning)
    : path_(std::move(path)),
      isPlain_(!beginsArchive(beginning)),
      members_(membersOf(path_, std::move(pipe), std::move(beginning), isPlain_)) {}

ArchiveMessages::~ArchiveMessages() = default;

bool ArchiveMessages::next(ArchiveMessage& message) {
    for (;;) {
        switch (step(message)) {
            case Step::kFound:
                return true;
            case Step::kEnd:
                return false;
            case Step::kMore:
                break;
            case Step::kLater: {
                struct pollfd more {
                    descriptor(), POLLIN, 0
                };
                ::poll(&more, 1, -1);
            }
        }
    }
}

ArchiveMessages::Step ArchiveMessages::step(ArchiveMessage& message) {
    budget_ = kEachCall;
    isPaused_ = false;
    for (;;) {
        Step step = Step::kMore;
        switch (content_) {
            case Content::kBetween:
                step = between(message);
                break;
            case Content::kUnknown:
                step = unknown(message);
                break;
            case Content::kMbox:
                step = inMbox(message);
                break;
            case Content::kOther:
                step = inOther(message);
                break;
            case Content::kIgnored:
                step = ignored();
                break;
            case Content::kOver:
                return Step::kEnd;
        }
        if (step != Step::kMore || isPaused_) return step;
    }
}

// What a call returns that could not go on. After kMore without a pause, the step has another to follow.
ArchiveMessages::Step ArchiveMessages::fromGot(Got got) const {
    return got == Got::kLater && !isPaused_ ? Step::kLater : Step::kMore;
}

ArchiveMessages::Step ArchiveMessages::between(ArchiveMessage& message) {
    constexpr uint64_t kEachMember = 512;
    isPaused_ = budget_ < kEachMember;
    if (isPaused_) return Step::kMore;
    budget_ -= kEachMember;
    MemberEvent event;
    const Got got = members_->next(event);
    if (got == Got::kLater) return Step::kLater;
    if (got == Got::kEnd) event.kind = MemberEvent::Kind::kEnd;
    read_ = std::max(read_, event.read);
    switch (event.kind) {
        case MemberEvent::Kind::kMember:
            beginMember(event);
            return Step::kMore;
        case MemberEvent::Kind::kNoFile:
            member_ = event.text;
            return foundLeftOut(message, "a link, which is not followed");
        case MemberEvent::Kind::kFailed:
            member_.reset();
            fail(event);
            content_ = Content::kOver;
            return foundProblem(message, memberProblem());
        case MemberEvent::Kind::kEnd:
            content_ = Content::kOver;
            return Step::kEnd;
        default:
            return Step::kMore;
    }
}

void ArchiveMessages::beginMember(const MemberEvent& event) {
    member_ = event.hasName ? std::optional(std::string(event.text)) : std::nullopt;
    offset_ = event.offset;
    base_ = window_.end();
    state_ = State::kComing;
    content_ = Content::kUnknown;
    isTooLarge_ = false;
}

void ArchiveMessages::endMember() {
    content_ = state_ == State::kAllFailed ? Content::kOver : Content::kBetween;
    scan_.reset();
    window_.releaseBefore(window_.end());
}

void ArchiveMessages::fail(const MemberEvent& event) {
    state_ = event.kind == MemberEvent::Kind::kFailed ? State::kAllFailed : State::kFailed;
    failure_ = event.failure;
    reason_ = event.text;
}

// Reads some more of the member.
Got ArchiveMessages::grow() {
    if (state_ != State::kComing) return Got::kEnd;
    isPaused_ = budget_ == 0;
    if (isPaused_) return Got::kLater;
    MemberEvent event;
    const Got got = members_->next(event);
    if (got == Got::kLater) return got;
    read_ = std::max(read_, event.read);
    if (got == Got::kEnd) event.kind = MemberEvent::Kind::kFailed;
    switch (event.kind) {
        case MemberEvent::Kind::kBytes:
            budget_ -= std::min<uint64_t>(budget_, event.text.size());
            if (content_ != Content::kIgnored) window_.append(event.text);
            return Got::kBytes;
        case MemberEvent::Kind::kMemberEnd:
            state_ = State::kWhole;
            return Got::kEnd;
        default:
            fail(event);
            return Got::kEnd;
    }
}

// kBytes: so much of the member is there, or all of it.
Got ArchiveMessages::growTo(uint64_t length) {
    while (memberLength() < length) {
        const Got got = grow();
        if (got == Got::kEnd) break;
        if (got == Got::kLater) return got;
    }
    return Got::kBytes;
}

// Its beginning tells what a member is.
ArchiveMessages::Step ArchiveMessages::unknown(ArchiveMessage& message) {
    if (growTo(kArchiveBeginning) == Got::kLater) return fromGot(Got::kLater);
    std::array<char, kArchiveBeginning> room{};
    const std::string_view beginning(room.data(), window_.read(base_, room));
    content_ = beginsMbox(beginning) ? Content::kMbox : Content::kOther;
    if (isPlain_ || state_ == State::kFailed || state_ == State::kAllFailed) {
        // An mbox that fails has a row for that, like anything else.
    } else if (member_ && maildir_.leavesOut(*member_, beginning)) {
        content_ = Content::kIgnored;
    } else if (beginsArchive(beginning)) {
        content_ = Content::kIgnored;
        return foundLeftOut(message, "an archive inside an archive, which is not opened");
    }
    if (content_ == Content::kMbox) scan_ = std::make_unique<MboxScan>(std::make_unique<MemberBytes>(*this));
    return Step::kMore;
}

ArchiveMessages::Step ArchiveMessages::ignored() {
    window_.releaseBefore(window_.end());
    while (state_ == State::kComing) {
        if (grow() == Got::kLater) return fromGot(Got::kLater);
    }
    // That an archive is cut off in a member that is not read matters too.
    content_ = Content::kBetween;
    if (state_ != State::kAllFailed) return Step::kMore;
    content_ = Content::kOther;
    return Step::kMore;
}

ArchiveMessages::Step ArchiveMessages::inMbox(ArchiveMessage& message) {
    MboxRange range;
    const Got got = scan_->step(range);
    if (scan_->reached() - scan_->start() > kMaxStreamedMessage && got != Got::kEnd) isTooLarge_ = true;
    if (got == Got::kBytes) {
        const bool wasTooLarge = std::exchange(isTooLarge_, false);
        const Step step = wasTooLarge ? foundProblem(message, {ExitCode::kInput, "message-too-large", path_,
                                                               formatted("this message is larger than {}",
                                                                         inGibibytes(kMaxStreamedMessage))})
                                      : found(message, range);
        window_.releaseBefore(base_ + scan_->start());
        return step;
    }
    if (got == Got::kEnd) {
        endMember();
        return Step::kMore;
    }
    window_.releaseBefore(base_ + (isTooLarge_ ? scan_->reached() : scan_->start()));
    if (state_ == State::kComing || state_ == State::kWhole) return fromGot(got);
    const Problem problem = memberProblem();
    endMember();
    return foundProblem(message, problem);
}

ArchiveMessages::Step ArchiveMessages::inOther(ArchiveMessage& message) {
    const uint64_t most = isPlain_ ? std::numeric_limits<uint64_t>::max() : kMaxStreamedMessage + 1;
    if (growTo(most) == Got::kLater) return fromGot(Got::kLater);
    if (state_ == State::kComing) {
        content_ = Content::kIgnored;
        return foundProblem(message, {ExitCode::kInput, "message-too-large", path_,
                                      formatted("this file is larger than {}, and no mbox",
                                                inGibibytes(kMaxStreamedMessage))});
    }
    if (state_ != State::kWhole) {
        const Problem problem = memberProblem();
        endMember();
        return foundProblem(message, problem);
    }
    MboxRange range{0, 0, memberLength(), false};
    std::array<char, kEmlxBeginning> room{};
    const std::string_view beginning(room.data(), window_.read(base_, room));
    const auto bytesAt = [&](uint64_t position, std::span<char> bytes) {
        return window_.read(base_ + position, bytes);
    };
    const auto emlx = findEmlx(beginning, range.length, member_ ? *member_ : path_, bytesAt);
    if (emlx) {
        range.offset = emlx->offset;
        range.length = emlx->length;
    }
    const Step step = found(message, range);
    if (isPlain_) {
        message.source.index.reset();
        message.source.hasPlace = emlx.has_value();
    }
    endMember();
    return step;
}

void ArchiveMessages::name(ArchiveMessage& message) {
    message = ArchiveMessage{};
    message.source.path = path_;
    message.source.member = member_;
    message.weight = read_ - reported_;
    reported_ = read_;
}

ArchiveMessages::Step ArchiveMessages::found(ArchiveMessage& message, const MboxRange& range) {
    name(message);
    const StoredPiece piece = window_.piece(base_ + range.offset, range.length);
    MessageSource& source = message.source;
    source.index = index_++;
    source.hasPlace = offset_.has_value();
    source.offset = offset_.value_or(0) + range.offset;
    source.length = range.length;
    source.file = piece.file;
    source.stored = StoredRange{piece.offset, range.length, range.isQuoted};
    return Step::kFound;
}

ArchiveMessages::Step ArchiveMessages::foundProblem(ArchiveMessage& message, Problem problem) {
    name(message);
    message.source.index = index_++;
    message.problem = std::move(problem);
    return Step::kFound;
}

ArchiveMessages::Step ArchiveMessages::foundLeftOut(ArchiveMessage& message, const char* why) {
    name(message);
    message.leftOut = why;
    return Step::kFound;
}

Problem ArchiveMessages::memberProblem() const {
    const bool isMember = state_ == State::kFailed;
    switch (failure_) {
        case MemberEvent::Failure::kEncrypted:
            return {ExitCode::kEncrypted, "encrypted-member", path_,
                    "this member of the archive is encrypted"};
        case MemberEvent::Failure::kBomb:
            return {
                ExitCode::kInput, "archive-bomb", path_,
                formatted("more than {} came out of the archive, over {} times what was read of it; the rest "
                          "is not read",
                          inGibibytes(kSafeUnpacked), kMaxUnpackedRatio)};
        case MemberEvent::Failure::kSystem:
            return {ExitCode::kInternal, "archive-failed", path_, reason_};
        case MemberEvent::Failure::kDamaged:
            break;
    }
    std::string text = isMember ? "this member of the archive is damaged"
                                : "the archive is damaged, or cut off; the rest is not read";
    if (!reason_.empty()) text += formatted(" ({})", reason_);
    return {ExitCode::kInput, "damaged-archive", path_, std::move(text)};
}

}  // namespace emltool
