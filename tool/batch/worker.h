// The inside of a worker process.
#pragma once

#include <cstdint>

#include "tool/batch/row.h"

namespace emltool {

struct WorkerOptions {
    RowOptions row;
    uint64_t maxMemory = 0;  // bytes that one message may take; 0 is any number
};

// Reads items from one pipe and writes rows to the other, until the first ends. Returns the exit code.
int workThrough(int tasks, int replies, const WorkerOptions& options) noexcept;

}  // namespace emltool
