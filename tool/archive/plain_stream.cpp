#include "tool/archive/plain_stream.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tool/archive/message_source.h"

namespace emltool {

// Other programs may use the same pipe, so it stays one that blocks, and is asked before.
ByteSource::Got readReady(const std::string& path, int descriptor, std::string& bytes) {
    constexpr size_t kPiece = size_t{64} << 10;
    struct pollfd more {
        descriptor, POLLIN, 0
    };
    if (::poll(&more, 1, 0) <= 0) return ByteSource::Got::kLater;
    const size_t before = bytes.size();
    bytes.resize(before + kPiece);
    ssize_t got = -1;
    do {
        got = ::read(descriptor, bytes.data() + before, kPiece);
    } while (got < 0 && errno == EINTR);
    const int failure = errno;
    bytes.resize(before + static_cast<size_t>(got > 0 ? got : 0));
    if (got < 0 && failure == EAGAIN) return ByteSource::Got::kLater;
    if (got < 0) throw inputProblem(path, {failure, std::system_category()});
    return got > 0 ? ByteSource::Got::kBytes : ByteSource::Got::kEnd;
}

MemberStream::Got PlainStream::next(MemberEvent& event) {
    event = MemberEvent{};
    event.hasName = false;
    switch (state_) {
        case State::kAtBegin:
            event.kind = MemberEvent::Kind::kMember;
            event.offset = 0;
            state_ = State::kInBytes;
            return Got::kBytes;
        case State::kInBytes:
            // What was read before comes first.
            if (read_ > 0 || bytes_.empty()) {
                bytes_.clear();
                const Got got = readReady(path_, file_.get(), bytes_);
                if (got == Got::kLater) return got;
                if (got == Got::kEnd) {
                    event.kind = MemberEvent::Kind::kMemberEnd;
                    state_ = State::kAtEnd;
                    return Got::kBytes;
                }
            }
            read_ += bytes_.size();
            event.kind = MemberEvent::Kind::kBytes;
            event.text = bytes_;
            event.read = read_;
            return Got::kBytes;
        case State::kAtEnd:
            event.kind = MemberEvent::Kind::kEnd;
            state_ = State::kOver;
            return Got::kBytes;
        case State::kOver:
            break;
    }
    return Got::kEnd;
}

}  // namespace emltool
