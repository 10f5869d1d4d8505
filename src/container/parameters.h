// The classifiers and copiers of MIME header values: pure functions on the text at a cursor, apart from the
// copies, which come from the host's allocator. A text ends at its end, at a zero byte, or at the end of its
// line.
#pragma once

#include <emlreader/eml_host.h>

#include "bytes/cursor.h"
#include "bytes/transfer_encoding.h"

namespace eml {

// The content class (EmlContentClass) that a Content-Type value begins with.
[[nodiscard]] uint32_t classifyContentType(Cursor text);

// The encoding that a Content-Transfer-Encoding value begins with.
[[nodiscard]] TransferEncoding classifyEncoding(Cursor text);

// The run of bytes that a rule takes from a line; `found` is false when the rule takes nothing, not even an
// empty run.
struct HeaderValue {
    const uint8_t* begin;
    size_t length;
    bool found;
};

// The value of a parameter that must begin with "boundary=".
[[nodiscard]] HeaderValue boundaryValue(Cursor text);

// The value behind "name=" or "filename=": up to the next double quote or the end of the line.
[[nodiscard]] HeaderValue quotedValue(Cursor text);

// "--" and the boundary value, zero-terminated; NULL when there is none or memory is exhausted. `lengthOut`
// receives the length of the copy, the two dashes included, and is left alone when the result is NULL.
[[nodiscard]] char* copyBoundary(EmlAllocator& allocator, Cursor text, uint32_t& lengthOut);

// A zero-terminated copy of quotedValue; NULL when there is none or memory is exhausted.
[[nodiscard]] char* copyQuotedValue(EmlAllocator& allocator, Cursor text);

// Moves from the first byte of a token (a type, a disposition) to the first parameter behind it, or to the
// line end.
void skipToParameter(Cursor& text);

}  // namespace eml
