// Messages for the benchmarks. The same kind, size and seed give the same bytes on every machine.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace emlbench {

enum class Kind {
    kTypical,          // text, HTML and a base64 attachment; SIZE is the size of the message in bytes
    kBase64,           // one attachment of about SIZE encoded bytes
    kQuotedPrintable,  // the same: German text, about 5 % of its bytes escaped
    kQuotedHeavy,      // the same: Russian text, every letter escaped
    kPlain,            // the same: not encoded, UTF-8
    kMixture,          // attachments of the four kinds above, 10 MB each, SIZE bytes together
    kParts,            // SIZE attachments of a few hundred bytes
    kHeaders,          // a short text under SIZE further header lines
    kTextBase64,       // only a text of about SIZE encoded bytes (German, UTF-8), in base64
    kTextQuoted,       // the same in quoted-printable
    kTextPlain,        // the same, not encoded
    kMail,             // SIZE bytes as in a mailbox: small ones are a text, larger ones typical
};

// The kind of this name: "typical", "base64", "qp", "qp-heavy", "8bit", "mixture", "parts", "headers",
// "text-base64", "text-qp", "text-8bit", "mail".
std::optional<Kind> kindNamed(std::string_view name);

using TextSink = std::function<void(std::string_view)>;

// Hands the message to `sink` piece by piece.
void generate(Kind kind, uint64_t size, uint64_t seed, const TextSink& sink);

// A size for message `number` of a mailbox: 2 to 60 KB, most of them small, 14 KB on average.
uint64_t mailSize(uint64_t number);

}  // namespace emlbench
