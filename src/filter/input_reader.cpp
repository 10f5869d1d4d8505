#include "filter/input_reader.h"

#include <algorithm>
#include <cstring>

#include "filter/input_cuts.h"
#include "host/host_file.h"

namespace {

using eml::kInputSize;

void learnLineEnd(EmlFilterContext& context, int32_t count) {
    if (context.input.lineEndWidth != 0) return;
    const eml::LineEnd found = eml::detectLineEnd(context.input.buffer, count);
    context.input.lineEnd[0] = found.bytes[0];
    context.input.lineEnd[1] = found.bytes[1];
    context.input.lineEndWidth = found.width;
}

int32_t cutOf(const EmlFilterContext& context, int32_t count) {
    if (context.boundary.text != nullptr) {
        const eml::BoundaryNeedle boundary{context.boundary.text, context.boundary.length,
                                           context.boundary.finder};
        const int32_t cut = eml::boundaryCut(context.input.buffer, count, boundary);
        // A boundary at the start of a full buffer cannot be kept back: it is cut like a buffer without one.
        if (cut > 0 && cut < kInputSize) return cut;
    }
    return eml::lineCut(context.input.buffer, count,
                        {{context.input.lineEnd[0], context.input.lineEnd[1]}, context.input.lineEndWidth});
}

int32_t handOut(EmlFilterContext& context, int32_t count) {
    context.input.buffer[count] = 0;
    context.input.end = context.input.buffer + count;
    context.input.readCount += count;
    return count;
}

// KEPT: the end of the buffer stays where it was when less is asked for than is carried over.
int32_t serveCarried(EmlFilterContext& context, int32_t size) {
    std::memcpy(context.input.buffer, context.input.carryPos, static_cast<size_t>(size));
    context.input.buffer[size] = 0;
    context.input.carryPos += size;
    context.input.carryCount -= size;
    context.input.readCount += size;
    return size;
}

}  // namespace

int32_t readBuf(EmlFilterContext& context, int32_t size) {
    size = std::min(size, kInputSize);
    if (size < 1) return 0;
    const int32_t carried = context.input.carryCount;
    if (carried > 0 && size <= carried) return serveCarried(context, size);
    std::memcpy(context.input.buffer, context.input.carryPos, static_cast<size_t>(carried));
    // What is carried over counts already: the file ends where the count does.
    const int32_t countable = INT32_MAX - context.input.readCount - carried;
    const auto wanted = static_cast<uint32_t>(std::clamp(size - carried, 0, std::max(countable, 0)));
    const auto delivered =
        static_cast<int32_t>(eml::readFile(*context.io, context.input.buffer + carried, wanted));
    const int32_t count = carried + delivered;
    context.input.carryCount = 0;
    context.input.carryPos = context.input.carry;
    if (delivered == 0 || context.body.running) return handOut(context, count);
    learnLineEnd(context, count);
    const int32_t cut = cutOf(context, count);
    std::memcpy(context.input.carry, context.input.buffer + count - cut, static_cast<size_t>(cut));
    context.input.carryCount = cut;
    return handOut(context, count - cut);
}

int32_t emlgetc(EmlFilterContext& context, int32_t limit) {
    const bool refills = limit > 0;
    if (context.input.readPos < context.input.end && (!refills || context.input.readCount > 0))
        return *context.input.readPos++;
    if (!refills || readBuf(context, limit - context.input.readCount) < 1) return -1;
    context.input.readPos = context.input.buffer + 1;
    return context.input.buffer[0];
}

namespace eml {

InputRun takeRun(EmlFilterContext& context, int32_t limit) {
    const bool refills = limit > 0;
    if (context.input.readPos == context.input.end || (refills && context.input.readCount == 0)) {
        const int32_t count = refills ? readBuf(context, limit - context.input.readCount) : 0;
        if (count < 1) return {nullptr, nullptr};
        context.input.readPos = context.input.buffer;
    }
    const InputRun run{context.input.readPos, context.input.end};
    context.input.readPos = context.input.end;
    return run;
}

}  // namespace eml
