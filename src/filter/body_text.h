// Bytes of bodies and field values as text: text records in stream mode, bytes of the field buffer in field mode.
#pragma once

#include "filter/filter_context.h"

// Turns the input from the read position to its end into text. In stream mode it stops where the output is full
// and says so in the context, and the next call goes on from there. False when memory ran out.
[[nodiscard]] bool processEMLplainbody(EmlFilterContext& context, bool fieldMode);
