// Pieces of Content-Type and Content-Transfer-Encoding values that the filter reads in more than one place.
#pragma once

#include "bytes/cursor.h"
#include "filter/filter_context.h"

namespace eml {

// The transfer encoding that the value at the cursor begins with. KEPT: blanks are skipped, a quote is not.
[[nodiscard]] TransferEncoding encodingOfValue(Cursor value);

// Copies the token at the cursor, at most 63 characters, up to a ";", a blank, a tab or the line end, and
// moves past it.
void takeTypeToken(Cursor& value, char (&type)[kTypeSize]);

// The message's first "charset=" settles its charset, also with a name that is not known. The cursor stands
// at a place where "ch" was found; `allQuotes` skips every leading double quote instead of one.
void takeCharset(EmlFilterContext& context, Cursor place, bool allQuotes);

// Looks for "ch" on the rest of the line at the cursor, and moves there; false when the line has none. KEPT:
// lower case, and the first one only.
[[nodiscard]] bool findCharsetPlace(Cursor& text);

}  // namespace eml
