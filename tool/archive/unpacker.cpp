#include "tool/archive/unpacker.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "tool/archive/unpack.h"
#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

// Dictionaries of compressors take up to 128 MiB; the list of a zip takes some hundred bytes for each member.
constexpr ProcessLimits kLimits{uint64_t{512} << 20, 60, true};

constexpr size_t kPiece = size_t{64} << 10;

}  // namespace

Unpacker::Unpacker(std::string path, int descriptor, std::string beginning) : path_(std::move(path)) {
    const std::string lack = archiveLack();
    if (!lack.empty()) {
        throw Problem(
            ExitCode::kInput, "no-archive-reader", path_,
            formatted("is an archive; reading archives needs libarchive, and this program is {}", lack));
    }
    const auto work = [&](int reply, int input) { return unpackArchive(input, beginning, reply); };
    process_ = startIsolated(work, kLimits, descriptor);
    if (process_.child == nullptr) {
        throw Problem(ExitCode::kInternal, "no-worker", path_,
                      formatted("the process that opens archives {}", process_.failure));
    }
    ::fcntl(process_.replies.get(), F_SETFL, O_NONBLOCK);
}

MemberEvent Unpacker::failed(MemberEvent::Failure failure, std::string text) {
    isOver_ = true;
    reason_ = std::move(text);
    MemberEvent event;
    event.kind = MemberEvent::Kind::kFailed;
    event.failure = failure;
    event.text = reason_;
    return event;
}

// A whole frame of what has been received.
bool Unpacker::take(MemberEvent& event) {
    const std::string_view rest = std::string_view(bytes_).substr(taken_);
    UnpackFrame frame;
    if (rest.size() < sizeof frame) return false;
    std::memcpy(&frame, rest.data(), sizeof frame);
    const bool isKnown = frame.kind >= static_cast<uint8_t>(MemberEvent::Kind::kMember) &&
                         frame.kind <= static_cast<uint8_t>(MemberEvent::Kind::kEnd) &&
                         frame.failure <= static_cast<uint8_t>(MemberEvent::Failure::kBomb);
    if (!isKnown || frame.length > kMaxUnpacked) {
        event = failed(MemberEvent::Failure::kSystem, "the process that opens archives says nonsense");
        return true;
    }
    if (rest.size() - sizeof frame < frame.length) return false;
    event.kind = static_cast<MemberEvent::Kind>(frame.kind);
    event.failure = static_cast<MemberEvent::Failure>(frame.failure);
    event.text = rest.substr(sizeof frame, static_cast<size_t>(frame.length));
    event.offset = frame.hasOffset != 0 ? std::optional(frame.offset) : std::nullopt;
    event.hasName = frame.hasName != 0;
    event.read = frame.read;
    taken_ += sizeof frame + event.text.size();
    isOver_ = event.kind == MemberEvent::Kind::kEnd || event.kind == MemberEvent::Kind::kFailed;
    return true;
}

// kEnd: the process has ended.
MemberStream::Got Unpacker::receive() {
    bytes_.erase(0, taken_);
    taken_ = 0;
    const size_t before = bytes_.size();
    bytes_.resize(before + kPiece);
    ssize_t got = -1;
    do {
        got = ::read(process_.replies.get(), bytes_.data() + before, kPiece);
    } while (got < 0 && errno == EINTR);
    bytes_.resize(before + static_cast<size_t>(got > 0 ? got : 0));
    if (got > 0) return Got::kBytes;
    return got < 0 && errno == EAGAIN ? Got::kLater : Got::kEnd;
}

MemberStream::Got Unpacker::next(MemberEvent& event) {
    if (isOver_) return Got::kEnd;
    while (!take(event)) {
        const Got got = receive();
        if (got == Got::kLater) return got;
        if (got == Got::kBytes) continue;
        // An honest process says that it has come to the end.
        std::string failure = isolatedFailure(process_.child->kill());
        if (failure.empty()) failure = "ended too early";
        event = failed(MemberEvent::Failure::kSystem, "the process that opens archives " + failure);
        break;
    }
    return Got::kBytes;
}

}  // namespace emltool
