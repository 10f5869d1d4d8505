// The transfer decoders once more: slow, whole in memory, one rule after the other. Held against the real
// ones.
#pragma once

#include "reference/bytes.h"

namespace reference {

[[nodiscard]] Bytes decodeBase64(const Bytes& input, bool dropCr);

// A body, as it is extracted.
[[nodiscard]] Bytes decodeQuotedPrintableBody(const Bytes& input);

// A run of header text.
[[nodiscard]] Bytes decodeQuotedPrintableText(const Bytes& input, bool underscoreIsSpace);

}  // namespace reference
