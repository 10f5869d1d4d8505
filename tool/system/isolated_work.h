// Work on hostile bytes by code that is not ours: in a process of its own, where a crash, an endless loop or
// a huge allocation harm nobody else.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace emltool {

struct IsolationLimits {
    uint64_t memory;  // bytes above what the program itself takes
    unsigned processorSeconds;
    std::chrono::milliseconds timeout;  // by the clock on the wall
    size_t reply;                       // bytes
};

struct IsolatedReply {
    std::vector<uint8_t> bytes;
    std::string failure;  // why there is no reply, "crashed (SIGSEGV)"; empty when the work was done

    bool done() const { return failure.empty(); }
};

// The work: writes its reply to `descriptor` and gives true when that is all of it. It has neither the
// standard streams nor any file of the program, can open no other, and may throw std::bad_alloc.
using IsolatedWork = std::function<bool(int descriptor)>;

// Does the work in a new process, within the limits. The reply is as trustworthy as the bytes that the work
// is about.
IsolatedReply workIsolated(const IsolatedWork& work, const IsolationLimits& limits);

}  // namespace emltool
