#include "tool/system/isolated_work.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "tool/system/isolated_process.h"

namespace emltool {

namespace {

using Clock = std::chrono::steady_clock;

// How the reading of the reply ended.
enum class Reading { kWhole, kTooLong, kTooLate, kFailed };

Reading readReply(int descriptor, const IsolationLimits& limits, std::vector<uint8_t>& bytes) {
    constexpr size_t kPiece = size_t{64} << 10;
    const Clock::time_point end = Clock::now() + limits.timeout;
    for (;;) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return Reading::kTooLate;
        struct pollfd waiting {
            descriptor, POLLIN, 0
        };
        int ready = ::poll(&waiting, 1, static_cast<int>(std::min<decltype(left)>(left, 1000)));
        if (ready < 0 && errno != EINTR) return Reading::kFailed;
        if (ready <= 0) continue;
        size_t before = bytes.size();
        bytes.resize(before + kPiece);
        ssize_t got = ::read(descriptor, bytes.data() + before, kPiece);
        bool again = got < 0 && errno == EINTR;
        bytes.resize(before + static_cast<size_t>(std::max<ssize_t>(got, 0)));
        if (got < 0 && !again) return Reading::kFailed;
        if (got == 0) return Reading::kWhole;
        if (bytes.size() > limits.reply) return Reading::kTooLong;
    }
}

std::string failureOf(Reading reading, int status) {
    switch (reading) {
        case Reading::kTooLong:
            return "gave more than there can be";
        case Reading::kTooLate:
            return "took too long";
        case Reading::kFailed:
            return "could not be heard";
        case Reading::kWhole:
            break;
    }
    return isolatedFailure(status);
}

}  // namespace

IsolatedReply workIsolated(const IsolatedWork& work, const IsolationLimits& limits) {
    IsolatedReply reply;
    const auto alone = [&](int descriptor, int) { return work(descriptor); };
    IsolatedProcess process = startIsolated(alone, {limits.memory, limits.processorSeconds, false});
    if (process.child == nullptr) {
        reply.failure = process.failure;
        return reply;
    }
    Reading result = readReply(process.replies.get(), limits, reply.bytes);
    // An honest process closes the pipe by ending; one that runs on after that is not honest.
    reply.failure = failureOf(result, process.child->kill());
    if (!reply.done()) reply.bytes.clear();
    return reply;
}

}  // namespace emltool
