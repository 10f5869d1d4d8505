// The texts of one mailbox. Each is appended with a zero byte after it.
#pragma once

#include <string_view>

#include "mime/encoded_words.h"

namespace eml {

// Length 0 with this as start: absent.
inline constexpr uint32_t kAbsent = 0xFFFFFFFF;
inline constexpr TextPlace kAbsentText{kAbsent, 0};

// A display name from the words before and after an address: quotes, comments and escapes undone, encoded words
// decoded, one blank where blanks or comments stand. Absent when nothing is left.
[[nodiscard]] TextPlace appendName(std::string_view before, std::string_view after, const HeaderText& how,
                                   TextBuilder& texts);

// The inside of a comment. Absent when that is blank.
[[nodiscard]] TextPlace appendComment(std::string_view comment, const HeaderText& how, TextBuilder& texts);

// An address without route, comments, blanks and control characters, "mailto:", brackets and quotes around it.
[[nodiscard]] TextPlace appendAddress(std::string_view address, const HeaderText& how, TextBuilder& texts);

}  // namespace eml
