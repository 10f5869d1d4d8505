// Messages for the benchmarks. The same kind, size and seed give the same bytes on every machine.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace emlbench {

enum class Kind {
    kTypical,          // text, HTML and a base64 attachment; SIZE is what the message is to have, in bytes
    kBase64,           // one attachment of about SIZE encoded bytes
    kQuotedPrintable,  // the same: German text, about 5 % of its bytes escaped
    kQuotedHeavy,      // the same: Russian text, every letter escaped
    kPlain,            // the same: not encoded, UTF-8
    kMixture,          // attachments of the four kinds above, 10 MB each, SIZE bytes together
    kParts,            // SIZE attachments of some hundred bytes
};

// The kind named "typical", "base64", "qp", "qp-heavy", "8bit", "mixture" or "parts".
std::optional<Kind> kindNamed(std::string_view name);

using TextSink = std::function<void(std::string_view)>;

// Hands the message to `sink` piece by piece.
void generate(Kind kind, uint64_t size, uint64_t seed, const TextSink& sink);

}  // namespace emlbench
