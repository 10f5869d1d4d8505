// One attachment, decoded, into an output object.
#pragma once

#include "filter/filter_context.h"

// Each positions the input on the attachment, writes its bytes and stores their number in the output's size.
// EML_OBJECT_FAILED when the input cannot be positioned, or gives nothing to the two decoders; EML_NO_MEMORY
// when there is no output buffer.
[[nodiscard]] EmlResult emlnone(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment);
[[nodiscard]] EmlResult emlqp(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment);

// With `textMode` every decoded CR is dropped.
[[nodiscard]] EmlResult emlbase64(EmlFilterContext& context, EmlIOobj& output,
                                  const EmlAttachment& attachment, bool textMode);
