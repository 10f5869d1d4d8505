// What the transfer encoding decides: attachments, decoded into an output object, and encoded bodies and field
// values as text. (RFC 2045 section 6; the state machines are in bytes/.)
#pragma once

#include <optional>

#include "filter/filter_context.h"

// Each positions the input on the attachment, writes its bytes and stores their number in the output's size.
// EML_OBJECT_FAILED when the input cannot be positioned, or gives nothing to the two decoders; EML_NO_MEMORY
// when there is no output buffer.
[[nodiscard]] EmlResult emlnone(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment);
[[nodiscard]] EmlResult emlqp(EmlFilterContext& context, EmlIOobj& output, const EmlAttachment& attachment);

// With `textMode` every decoded CR is dropped.
[[nodiscard]] EmlResult emlbase64(EmlFilterContext& context, EmlIOobj& output,
                                  const EmlAttachment& attachment, bool textMode);

// Decodes the rest of the body, or what stands in the buffer when bodyLength is below 1, and hands it to
// processEMLplainbody. A resumed fill only goes on with what is left.
// KEPT: a failed growth is EML_OBJECT_FAILED in quoted-printable and EML_NO_MEMORY in base64; a failed first
// allocation is EML_OBJECT_FAILED.
[[nodiscard]] EmlResult processEMLqpbody(EmlFilterContext& context, bool fieldMode);
[[nodiscard]] EmlResult processEMLbase64body(EmlFilterContext& context, bool fieldMode);

namespace eml {

// emlnone, emlqp or emlbase64, by the encoding of the attachment.
[[nodiscard]] EmlResult extractDecoded(EmlFilterContext& context, EmlIOobj& output,
                                       const EmlAttachment& attachment, bool textMode);

// One step of the conversion of an encoded body into text records. Nothing is done, and nothing returned, for a
// body that is not encoded.
[[nodiscard]] std::optional<EmlResult> convertEncodedBody(EmlFilterContext& context);

}  // namespace eml
