// What is signed or encrypted, recognised and not opened (RFC 8551, RFC 3156, RFC 9580).
#pragma once

#include <emlreader/eml_mime.h>

#include <string_view>

#include "mime/encoded_words.h"

namespace eml {

// EML_MIME_SMIME_..., EML_MIME_PGP_...: what the header of a part says. All lower case but `parameters`, which are
// those of Content-Type. EML_MIME_SMIME_OTHER: only the content can tell (protectionOfDer).
[[nodiscard]] uint32_t protectionOf(std::string_view type, std::string_view subtype,
                                    std::string_view parameters, const HeaderText& how, TextBuilder& scratch);

// What the first bytes of a CMS object (RFC 5652) in DER or BER say; EML_MIME_SMIME_OTHER when they do not.
[[nodiscard]] uint32_t protectionOfCms(std::string_view bytes);

// The same of one line of text, without its line end: "-----BEGIN PGP MESSAGE-----" and the like;
// EML_MIME_PROTECTION_NONE for any other line.
[[nodiscard]] uint32_t protectionOfLine(std::string_view line);

}  // namespace eml
