// Content-Type, Content-Disposition and Content-Transfer-Encoding (RFC 2045 sections 5 and 6, RFC 2183) up to
// their parameters.
#pragma once

#include <cstdint>
#include <string_view>

#include "mime/text_builder.h"

namespace eml {

// The first item of a structured field, and where its parameters begin.
struct MediaType {
    std::string_view type;  // as written; both empty when there is none that can be read
    std::string_view subtype;
    std::string_view parameters;  // what follows
};

// Reads "type/subtype". Tolerates comments and folding anywhere, blanks around "/", quotes around it, a missing
// subtype ("text" reads as text/plain, "multipart" as multipart/mixed; any other lacks one: not readable).
[[nodiscard]] MediaType readMediaType(std::string_view value);

// One token and the parameters after it: "attachment; filename=...".
struct TokenAndParameters {
    std::string_view token;  // may be empty
    std::string_view parameters;
};
[[nodiscard]] TokenAndParameters readToken(std::string_view value);

struct EncodingName {
    uint32_t encoding;         // EML_MIME_ENCODING_...
    std::string_view written;  // the word or words, without comments at the ends
    bool irregular;            // known, but with other text around it: "base64;", "base 64", "8-bit"
};
[[nodiscard]] EncodingName readTransferEncoding(std::string_view value);

// Appends `text` with "A" to "Z" as "a" to "z".
void appendLower(std::string_view text, TextBuilder& out);

}  // namespace eml
