#include "tool/batch/worker.h"

#include <unistd.h>

#include <cerrno>
#include <new>

#include "standalone/write_all.h"
#include "tool/batch/frames.h"
#include "tool/system/process_limits.h"

namespace emltool {

namespace {

bool readAll(int descriptor, char* bytes, size_t count) {
    while (count > 0) {
        ssize_t got = ::read(descriptor, bytes, count);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        count -= static_cast<size_t>(got);
    }
    return true;
}

bool readTask(int descriptor, BatchItem& item) {
    std::string bytes(sizeof(TaskHeader), '\0');
    if (!readAll(descriptor, bytes.data(), bytes.size())) return false;
    auto header = headerAt<TaskHeader>(bytes);
    item = BatchItem{std::string(static_cast<size_t>(header.pathLength), '\0'), std::nullopt, header.offset,
                     header.length};
    if (header.hasIndex != 0) item.index = header.index;
    return readAll(descriptor, item.path.data(), item.path.size());
}

bool writeReply(int descriptor, const BatchRow& row) {
    std::string bytes;
    appendHeader(bytes,
                 ReplyHeader{row.line.size(), static_cast<uint64_t>(row.kind), row.outOfMemory ? 1u : 0u});
    bytes += row.line;
    return emlhost::writeAll(descriptor, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}) == 0;
}

// Memory in addition to what the program itself takes. The hard limit stays, so that liftMemoryLimit can.
void limitMemory(uint64_t maxBytes) {
    if (maxBytes != 0) setSoftLimit(RLIMIT_AS, static_cast<rlim_t>(addressSpace() + maxBytes));
}

// The row that reports the lack of memory needs some itself.
void liftMemoryLimit() { setSoftLimit(RLIMIT_AS, RLIM_INFINITY); }

BatchRow readWithinLimits(const BatchItem& item, const RowOptions& options) {
    try {
        return readItem(item, options);
    } catch (const std::bad_alloc&) {
        liftMemoryLimit();
        return {RowKind::kError, problemRow(options.form, item, outOfMemory(item.path)), true};
    }
}

}  // namespace

int workThrough(int tasks, int replies, const WorkerOptions& options) noexcept {
    setSoftLimit(RLIMIT_CORE, 0);  // thousands of bad messages must not leave thousands of core files
    limitMemory(options.maxMemory);
    try {
        BatchItem item;
        while (readTask(tasks, item)) {
            BatchRow row = readWithinLimits(item, options.row);
            if (row.outOfMemory) liftMemoryLimit();
            if (!writeReply(replies, row) || row.outOfMemory) break;
        }
        return 0;
    } catch (const std::exception&) {
        return static_cast<int>(ExitCode::kInternal);
    }
}

}  // namespace emltool
