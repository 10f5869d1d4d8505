#include "filter/input_reader.h"

#include <algorithm>
#include <cstring>

#include "filter/input_cuts.h"
#include "host/host_file.h"

namespace {

using eml::kInputSize;

void learnLineEnd(EmlFilterContext& context, int32_t count) {
    if (context.lineEndWidth != 0) return;
    const eml::LineEnd found = eml::detectLineEnd(context.input, count);
    context.lineEnd[0] = found.bytes[0];
    context.lineEnd[1] = found.bytes[1];
    context.lineEndWidth = found.width;
}

int32_t cutOf(const EmlFilterContext& context, int32_t count) {
    if (context.boundary != nullptr) {
        const eml::BoundaryNeedle boundary{context.boundary, context.boundaryLength, context.boundaryFinder};
        const int32_t cut = eml::boundaryCut(context.input, count, boundary);
        // A boundary at the start of a full buffer cannot be kept back: it is cut like a buffer without one.
        if (cut > 0 && cut < kInputSize) return cut;
    }
    return eml::lineCut(context.input, count,
                        {{context.lineEnd[0], context.lineEnd[1]}, context.lineEndWidth});
}

int32_t handOut(EmlFilterContext& context, int32_t count) {
    context.input[count] = 0;
    context.inputEnd = context.input + count;
    context.readCount += count;
    return count;
}

// KEPT: the end of the buffer stays where it was when less is asked for than is carried over.
int32_t serveCarried(EmlFilterContext& context, int32_t size) {
    std::memcpy(context.input, context.carryPos, static_cast<size_t>(size));
    context.input[size] = 0;
    context.carryPos += size;
    context.carryCount -= size;
    context.readCount += size;
    return size;
}

}  // namespace

int32_t readBuf(EmlFilterContext& context, int32_t size) {
    size = std::min(size, kInputSize);
    if (size < 1) return 0;
    const int32_t carried = context.carryCount;
    if (carried > 0 && size <= carried) return serveCarried(context, size);
    std::memcpy(context.input, context.carryPos, static_cast<size_t>(carried));
    // What is carried over counts already: the file ends where the count does.
    const int32_t countable = INT32_MAX - context.readCount - carried;
    const auto wanted = static_cast<uint32_t>(std::clamp(size - carried, 0, std::max(countable, 0)));
    const auto delivered = static_cast<int32_t>(eml::readFile(*context.io, context.input + carried, wanted));
    const int32_t count = carried + delivered;
    context.carryCount = 0;
    context.carryPos = context.carry;
    if (delivered == 0 || context.inBody != 0) return handOut(context, count);
    learnLineEnd(context, count);
    const int32_t cut = cutOf(context, count);
    std::memcpy(context.carry, context.input + count - cut, static_cast<size_t>(cut));
    context.carryCount = cut;
    return handOut(context, count - cut);
}

int32_t emlgetc(EmlFilterContext& context, int32_t limit) {
    const bool refills = limit > 0;
    if (context.readPos < context.inputEnd && (!refills || context.readCount > 0)) return *context.readPos++;
    if (!refills || readBuf(context, limit - context.readCount) < 1) return -1;
    context.readPos = context.input + 1;
    return context.input[0];
}

namespace eml {

InputRun takeRun(EmlFilterContext& context, int32_t limit) {
    const bool refills = limit > 0;
    if (context.readPos == context.inputEnd || (refills && context.readCount == 0)) {
        const int32_t count = refills ? readBuf(context, limit - context.readCount) : 0;
        if (count < 1) return {nullptr, nullptr};
        context.readPos = context.input;
    }
    const InputRun run{context.readPos, context.inputEnd};
    context.readPos = context.inputEnd;
    return run;
}

}  // namespace eml
