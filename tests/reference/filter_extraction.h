// The message filter's decoders of attachments once more, whole in memory.
#pragma once

#include <string>
#include <string_view>

namespace reference {

// With `dropCr` every decoded CR is left out.
[[nodiscard]] std::string extractedBase64(std::string_view body, bool dropCr);
[[nodiscard]] std::string extractedQuotedPrintable(std::string_view body);

}  // namespace reference
