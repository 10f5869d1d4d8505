// Body bytes and field values as text: text records in stream mode, bytes of the field buffer in field mode.
#pragma once

#include "filter/filter_context.h"

// Turns the input from the read position to its end into text. In stream mode it stops where the output is full
// and says so in the context, and the next call goes on from there. False when memory ran out.
[[nodiscard]] bool processEMLplainbody(EmlFilterContext& context, bool fieldMode);

// Decodes the rest of the body, or what stands in the buffer when bodyLength is below 1, into the decode
// buffer, which becomes the input of processEMLplainbody. A resumed fill only goes on with what is left.
// KEPT: a failed growth is EML_OBJECT_FAILED in quoted-printable and EML_NO_MEMORY in base64; a failed first
// allocation is EML_OBJECT_FAILED.
[[nodiscard]] EmlResult processEMLqpbody(EmlFilterContext& context, bool fieldMode);
[[nodiscard]] EmlResult processEMLbase64body(EmlFilterContext& context, bool fieldMode);
