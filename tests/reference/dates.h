// The date of a message once more: each reader's walk through the text of its "Date:" field.
#pragma once

#include <ctime>
#include <optional>
#include <string_view>

namespace reference {

// `value`: the whole value of the field.
[[nodiscard]] std::optional<time_t> dateOfValue(std::string_view value);

// `text`: what stands behind "Date:" in the message, to its end and not only to that of the line.
[[nodiscard]] std::optional<time_t> dateBehindField(std::string_view text);

}  // namespace reference
