// Classifies and copies MIME header values. All are pure functions of the text at a cursor, except that
// copies are allocated by the host. A text ends at a zero byte, at the end of its line, or at the end of the
// cursor.
#pragma once

#include <emlreader/eml_host.h>

#include "bytes/cursor.h"
#include "bytes/transfer_encoding.h"

namespace eml {

// The content class (EmlContentClass) that a Content-Type value begins with.
[[nodiscard]] uint32_t classifyContentType(Cursor text);

// The encoding that a Content-Transfer-Encoding value begins with.
[[nodiscard]] TransferEncoding classifyEncoding(Cursor text);

// The bytes that a rule takes from a line; `found` is false when the rule does not apply, as opposed to an
// empty value.
struct HeaderValue {
    const uint8_t* begin;
    size_t length;
    bool found;
};

// The value of a parameter that must begin with "boundary=".
[[nodiscard]] HeaderValue boundaryValue(Cursor text);

// The value after "name=" or "filename=": up to the next double quote or the end of the line.
[[nodiscard]] HeaderValue quotedValue(Cursor text);

// "--" and the boundary value, zero-terminated; NULL when there is none or memory runs out. `lengthOut`
// receives the length of the copy, the two dashes included, and is left alone when the result is NULL.
[[nodiscard]] char* copyBoundary(EmlAllocator& allocator, Cursor text, uint32_t& lengthOut);

// A zero-terminated copy of quotedValue; NULL when there is none or memory runs out.
[[nodiscard]] char* copyQuotedValue(EmlAllocator& allocator, Cursor text);

// Moves from the first byte of a token (a type, a disposition) to the first parameter after it, or to the
// line end.
void skipToParameter(Cursor& text);

}  // namespace eml
