#include "container/line_reader.h"

#include <algorithm>

#include "container/container_calls.h"
#include "host/host_file.h"

namespace eml {

namespace {

// Reads at most `most` bytes at context.position.
uint32_t readAtPosition(EmlContainerContext& context, uint32_t most) {
    context.lineStart = context.position;
    context.lineLength = 0;
    context.lineBuffer[0] = 0;
    const int64_t left = context.fileSize - context.position;
    if (left <= 0 || !seekFile(*context.input, context.position)) return 0;
    const auto wanted = static_cast<uint32_t>(std::min<int64_t>(left, most));
    context.lineLength = readFile(*context.input, context.lineBuffer, wanted);
    context.lineBuffer[context.lineLength] = 0;
    return context.lineLength;
}

// Where the first line end of the text in the buffer begins, and its first zero byte before that.
struct FoundLine {
    uint32_t end;
    uint32_t zero;
};

FoundLine findLine(const EmlContainerContext& context) {
    const uint8_t* const begin = context.lineBuffer;
    const uint8_t* zero = nullptr;
    const uint8_t* const end = context.kernels->findLineEnd(begin, begin + context.lineLength, zero);
    return {static_cast<uint32_t>(end - begin), static_cast<uint32_t>(zero - begin)};
}

}  // namespace

uint32_t readBlock(EmlContainerContext& context) { return readAtPosition(context, kBlockSize); }

// Most lines are short, so a block is read only where a shorter read does not tell the end of the line. The
// line is that of the block, as long as the host delivers the same bytes to both.
//
// KEPT: a line is looked for within one block. A CR that is the block's last byte ends the line by itself;
// the LF after it is then an empty line of its own.
int32_t getLine(EmlContainerContext& context) {
    uint32_t count = readAtPosition(context, kShortRead);
    if (count == 0) return 0;
    FoundLine line = findLine(context);
    const bool lfMayFollow = line.end + 1 == count && context.lineBuffer[line.end] == kCr;
    if (context.fileSize - context.position > kShortRead && (line.end == count || lfMayFollow)) {
        count = readBlock(context);
        if (count == 0) return 0;
        line = findLine(context);
    }
    context.textLength = line.zero;
    if (line.end == count) {
        context.position += count;
        return 2;
    }
    const uint8_t* const lineEnd = context.lineBuffer + line.end;
    const uint32_t length = line.end + (*lineEnd == kCr && lineEnd[1] == kLf ? 2 : 1);
    context.lineBuffer[length] = 0;
    context.lineLength = length;
    if (line.zero == line.end) context.textLength = length;
    context.position = context.lineStart + length;
    return 1;
}

}  // namespace eml
