// Message ids (RFC 5322 section 3.6.4), Content-IDs (RFC 2045 section 7).
#pragma once

#include <string_view>

namespace eml {

// Takes the next id from the front of `text`: what stands between "<" and ">", comments passed over, blanks and line
// ends inside left for the caller (isFolded); without any "<" words separated by blanks and commas. False at the end.
[[nodiscard]] bool nextMessageId(std::string_view& text, std::string_view& id);

}  // namespace eml
