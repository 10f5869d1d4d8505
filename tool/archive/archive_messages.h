// The messages in an archive, or in what a pipe delivers.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tool/archive/maildir.h"
#include "tool/archive/mbox.h"
#include "tool/archive/member_stream.h"
#include "tool/archive/message_source.h"
#include "tool/archive/spool_window.h"
#include "tool/terminal/problem.h"

namespace emltool {

// No message in an archive or a pipe may be larger: it has to lie on the disk before it is read.
constexpr uint64_t kMaxStreamedMessage = uint64_t{1} << 30;

struct ArchiveMessage {
    MessageSource source;
    std::optional<Problem> problem;  // it cannot be read
    const char* leftOut = nullptr;   // this member is not read, and has no index: why
    uint64_t weight = 0;             // bytes of the archive that have been read for it
};

// Each file in an archive is what it would be in a folder: an mbox, which is many messages, or one message. Never holds
// more of it than a message, or the length that the header of one claims.
class ArchiveMessages {
  public:
    enum class Step {
        kFound,
        kMore,   // has worked long enough for one call
        kLater,  // waits for the descriptor
        kEnd
    };

    // The messages in the file `path`, which is open: an archive.
    ArchiveMessages(std::string path, const SharedFile& file);

    // What a pipe delivers. `beginning` is what has been read of it, as much as beginsArchive needs or all.
    ArchiveMessages(std::string path, emlhost::UniqueDescriptor pipe, std::string beginning);

    ~ArchiveMessages();
    ArchiveMessages(const ArchiveMessages&) = delete;
    ArchiveMessages& operator=(const ArchiveMessages&) = delete;

    // Throws Problem if it cannot go on.
    Step step(ArchiveMessage& message);

    // The same, waiting for what is to come. False at the end.
    bool next(ArchiveMessage& message);

    int descriptor() const { return members_->descriptor(); }

    // The index of the message that is looked for.
    uint64_t index() const { return index_; }

    // Bytes on the disk that are only there because messages are still held.
    uint64_t heldByOthers() const { return window_.heldByOthers(); }

  private:
    class MemberBytes;
    enum class Content { kBetween, kUnknown, kMbox, kOther, kIgnored, kOver };
    enum class State { kComing, kWhole, kFailed, kAllFailed };

    Step between(ArchiveMessage& message);
    Step unknown(ArchiveMessage& message);
    Step inMbox(ArchiveMessage& message);
    Step inOther(ArchiveMessage& message);
    Step ignored();
    ByteSource::Got grow();
    ByteSource::Got growTo(uint64_t length);
    void beginMember(const MemberEvent& event);
    void endMember();
    void fail(const MemberEvent& event);
    Problem memberProblem() const;
    Step fromGot(ByteSource::Got got) const;
    uint64_t memberLength() const { return window_.end() - base_; }
    Step found(ArchiveMessage& message, const MboxRange& range);
    Step foundProblem(ArchiveMessage& message, Problem problem);
    Step foundLeftOut(ArchiveMessage& message, const char* why);
    void name(ArchiveMessage& message);

    std::string path_;
    bool isPlain_ = false;  // a pipe that is no archive
    std::unique_ptr<MemberStream> members_;
    SpoolWindow window_;
    Content content_ = Content::kBetween;
    uint64_t index_ = 0;
    uint64_t budget_ = 0;  // bytes that this call may still read
    bool isPaused_ = false;
    uint64_t read_ = 0;      // of the archive
    uint64_t reported_ = 0;  // of those, in weights
    MaildirMembers maildir_;
    // Of the member:
    std::optional<std::string> member_;
    std::optional<uint64_t> offset_;
    uint64_t base_ = 0;  // where it begins in the window
    State state_ = State::kComing;
    MemberEvent::Failure failure_ = MemberEvent::Failure::kDamaged;
    std::string reason_;
    std::unique_ptr<MboxScan> scan_;
    bool isTooLarge_ = false;
};

}  // namespace emltool
