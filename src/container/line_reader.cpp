#include "container/line_reader.h"

#include <algorithm>

#include "container/container_calls.h"
#include "host/host_file.h"

namespace eml {

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
// the LF after it is then an empty line of its own.
int32_t getLine(EmlContainerContext& context) {
    const uint32_t count = readBlock(context);
    if (count == 0) return 0;
    const uint8_t* const begin = context.lineBuffer;
    const uint8_t* zero = nullptr;
    const uint8_t* const lineEnd = context.kernels->findLineEnd(begin, begin + count, zero);
    auto length = static_cast<uint32_t>(lineEnd - begin);
    context.textLength = static_cast<uint32_t>(zero - begin);
    if (length == count) {
        context.position += count;
        return 2;
    }
    length += *lineEnd == kCr && lineEnd[1] == kLf ? 2 : 1;
    context.lineBuffer[length] = 0;
    context.lineLength = length;
    if (zero == lineEnd) context.textLength = length;
    context.position = context.lineStart + length;
    return 1;
}

}  // namespace eml
