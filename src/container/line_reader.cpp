#include "container/line_reader.h"

#include <algorithm>
#include <cstring>

#include "container/container_calls.h"
#include "host/host_file.h"

namespace eml {

namespace {

// The index of the first CR or LF, or `count`. Zero bytes are bytes like any other here.
uint32_t findLineEnd(const uint8_t* bytes, uint32_t count) {
    const auto* lf = static_cast<const uint8_t*>(std::memchr(bytes, kLf, count));
    const auto limit = lf != nullptr ? static_cast<uint32_t>(lf - bytes) : count;
    const auto* cr = static_cast<const uint8_t*>(std::memchr(bytes, kCr, limit));
    return cr != nullptr ? static_cast<uint32_t>(cr - bytes) : limit;
}

}  // namespace

uint32_t readBlock(EmlContainerContext& context) {
    context.lineStart = context.position;
    context.lineLength = 0;
    context.lineBuffer[0] = 0;
    const int64_t left = context.fileSize - context.position;
    if (left <= 0 || !seekFile(*context.input, context.position)) return 0;
    const auto wanted = static_cast<uint32_t>(std::min<int64_t>(left, kBlockSize));
    context.lineLength = readFile(*context.input, context.lineBuffer, wanted);
    context.lineBuffer[context.lineLength] = 0;
    return context.lineLength;
}

// KEPT: a line is looked for within one block. A CR that is the block's last byte ends the line by itself;
// the LF behind it is then an empty line of its own.
int32_t getLine(EmlContainerContext& context) {
    const uint32_t count = readBlock(context);
    if (count == 0) return 0;
    uint32_t length = findLineEnd(context.lineBuffer, count);
    if (length == count) {
        context.position += count;
        return 2;
    }
    length += context.lineBuffer[length] == kCr && context.lineBuffer[length + 1] == kLf ? 2 : 1;
    context.lineBuffer[length] = 0;
    context.lineLength = length;
    context.position = context.lineStart + length;
    return 1;
}

Cursor lineText(const EmlContainerContext& context) {
    const uint8_t* const begin = context.lineBuffer;
    const void* zero = std::memchr(begin, 0, context.lineLength);
    return {begin, zero != nullptr ? static_cast<const uint8_t*>(zero) : begin + context.lineLength};
}

}  // namespace eml
