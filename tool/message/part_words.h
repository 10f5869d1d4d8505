// What the numbers of the MIME reader mean, in words: short ones for programs, texts for people.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace emltool {

// A transfer encoding (EML_MIME_ENCODING_...): "base64"; "none" when the message names none.
std::string_view encodingWord(uint32_t encoding);

// A protection (EML_MIME_SMIME_..., EML_MIME_PGP_...): "smime-signed"; empty for none.
std::string_view protectionWord(uint32_t protection);

// The same for a person: "S/MIME signed".
std::string_view protectionText(uint32_t protection);

// The same as a sentence about a whole message: "signed (S/MIME), not verified". S/MIME that does not tell what it is
// counts as encrypted.
std::string_view protectionNotice(uint32_t protection);

// A kind of span (EML_MIME_SPAN_...): "delimiter".
std::string_view spanWord(uint32_t kind);

// The roles of a part (EML_MIME_ROLE_...): "text-body", "html-body", "attachment".
std::vector<std::string_view> roleWords(uint32_t roles);

}  // namespace emltool
