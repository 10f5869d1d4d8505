// Encoded words in header text once more, slowly.
#pragma once

#include "reference/bytes.h"

namespace reference {

[[nodiscard]] Bytes decodeHeaderText(const Bytes& input);

}  // namespace reference
