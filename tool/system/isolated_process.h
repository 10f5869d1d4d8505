// A process that does other people's work on hostile bytes: it has no files, and little of anything else.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "standalone/unique_descriptor.h"
#include "tool/system/child_process.h"

namespace emltool {

struct ProcessLimits {
    uint64_t memory = 0;  // bytes in addition to what the program itself takes
    unsigned processorSeconds = 0;
    bool isRenewed = false;  // the work may ask for as many seconds again (allowProcessorTime)
};

// Writes to `reply`, may read from `input`, and returns true if all is done. It may throw std::bad_alloc.
using ProcessWork = std::function<bool(int reply, int input)>;

struct IsolatedProcess {
    std::unique_ptr<ChildProcess> child;  // NULL if it could not be started
    emlhost::UniqueDescriptor replies;
    std::string failure;  // why it was not
};

// Starts the work in a new process. Of the program's descriptors it has `input` (-1 is none) and the pipe for its
// replies.
IsolatedProcess startIsolated(const ProcessWork& work, const ProcessLimits& limits, int input = -1);

// For the work: as many seconds from now on.
void allowProcessorTime(unsigned seconds);

// Why a process that ended with this status of waitpid has not done its work; empty if it has.
std::string isolatedFailure(int status);

}  // namespace emltool
