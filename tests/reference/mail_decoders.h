// The decoders for mail once more: slow, whole in memory, one rule after the other. Held against the real ones.
#pragma once

#include <cstdint>

#include "reference/bytes.h"

namespace reference {

struct MailDecoded {
    Bytes bytes;
    uint64_t characters = 0;  // base64: outside the alphabet
    uint64_t padding = 0;     // base64: missing, early, or pieces joined
    uint64_t cutOff = 0;      // base64: one digit is left
    uint64_t escapes = 0;     // quoted-printable: "=" without two digits
};

[[nodiscard]] MailDecoded decodeMailBase64(const Bytes& input);

[[nodiscard]] MailDecoded decodeMailQuotedPrintable(const Bytes& input);

// Text whose lines end in LF, with flowed lines joined.
[[nodiscard]] std::string joinFlowed(const std::string& text, bool delSp);

}  // namespace reference
