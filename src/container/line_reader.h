// Lines of the message (eml2GetLine is declared in eml.h).
#pragma once

#include "bytes/cursor.h"
#include "container/container_context.h"

namespace eml {

// Seeks to context.position and reads a block of at most kBlockSize bytes, none of them beyond the end of the
// file, into the line buffer, with a zero after it. lineStart becomes the offset of the block; `position`
// stays. Returns the bytes read, 0 at the end of the data.
uint32_t readBlock(EmlContainerContext& context);

// The text of the line that getLine has read: up to its first zero byte, its line end included.
[[nodiscard]] inline Cursor lineText(const EmlContainerContext& context) {
    return {context.lineBuffer, context.lineBuffer + context.textLength};
}

// True when the line in the buffer begins with CR or LF, which ends a header.
[[nodiscard]] inline bool isEmptyLine(const EmlContainerContext& context) {
    return isLineEnd(context.lineBuffer[0]);
}

}  // namespace eml
