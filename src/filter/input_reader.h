// The filter's input: the message through one buffer of 4096 bytes that ends on a whole line, or before a
// boundary.
#pragma once

#include "filter/filter_context.h"

// Reads the next piece of at most `size` bytes into context.input.buffer. Returns its length; 0 at the end of the
// data. What is read beyond a cut is carried over to the next call. Bytes of the message after 2^31 - 1
// count as absent.
[[nodiscard]] int32_t readBuf(EmlFilterContext& context, int32_t size);

// The next byte, or -1. With `limit` above 0 the buffer is refilled, for as long as fewer than `limit` bytes
// have been handed out; otherwise only what is in the buffer is served.
[[nodiscard]] int32_t emlgetc(EmlFilterContext& context, int32_t limit);

namespace eml {

// The run that the next calls of emlgetc would serve, all of it used up. Empty at the end.
struct InputRun {
    const uint8_t* begin;
    const uint8_t* end;
};

[[nodiscard]] InputRun takeRun(EmlFilterContext& context, int32_t limit);

}  // namespace eml
