// One header field: its name as the filter writes it, and its value, decoded (RFC 2047).
#pragma once

#include "bytes/cursor.h"
#include "filter/filter_context.h"

// The name in bold, and two tabs.
[[nodiscard]] EmlResult outputEMLfieldname(EmlFilterContext& context, const char* name);

// Decodes the value at `position`, which may go on over folded lines up to context.input.end, and moves there
// to the line end after it. In fill mode it is written as records and ends with a line break; `kind` is
// kWholeLines or kCutLines. In metadata mode it is stored in the request numbered `kind`.
[[nodiscard]] EmlResult outputEMLfieldbody(EmlFilterContext& context, const uint8_t*& position,
                                           bool metadataMode, int32_t kind);

namespace eml {

// Moves to the line end of the line at the cursor: CR, LF, a zero byte, or the end.
void skipLine(Cursor& text);

// Moves past one CR, LF or CR LF.
void skipLineEnd(Cursor& text);

}  // namespace eml
