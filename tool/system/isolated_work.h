// Runs other people's code on hostile bytes in a process of its own, where a crash, an endless loop or a huge
// allocation harms nothing else.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace emltool {

struct IsolationLimits {
    uint64_t memory;  // bytes in addition to what the program itself takes
    unsigned processorSeconds;
    std::chrono::milliseconds timeout;  // in wall-clock time
    size_t reply;                       // bytes
};

struct IsolatedReply {
    std::vector<uint8_t> bytes;
    std::string failure;  // why there is no reply, "crashed (SIGSEGV)"; empty if the work was done

    bool done() const { return failure.empty(); }
};

// The work: writes its reply to `descriptor` and returns true if the reply is complete. It has neither the
// standard streams nor any file of the program, can open no other, and may throw std::bad_alloc.
using IsolatedWork = std::function<bool(int descriptor)>;

// Does the work in a new process, within the limits. The reply is as trustworthy as the bytes that the work
// is about.
IsolatedReply workIsolated(const IsolatedWork& work, const IsolationLimits& limits);

}  // namespace emltool
