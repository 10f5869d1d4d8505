// The values of MIME header lines, as plain string work.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace reference {

[[nodiscard]] uint32_t contentClass(std::string_view text);

[[nodiscard]] uint32_t transferEncoding(std::string_view text);

// The value of a parameter that has to begin with "boundary="; without the two dashes.
[[nodiscard]] std::optional<std::string> boundary(std::string_view text);

// The value after "name=" or "filename=".
[[nodiscard]] std::optional<std::string> quotedValue(std::string_view text);

// What is left of a line after the token that it begins with and the separators after that.
[[nodiscard]] std::string_view firstParameter(std::string_view text);

// The name of an embedded message whose "Subject:" line goes on with `subject`.
[[nodiscard]] std::string embeddedName(std::string_view subject, int number);

}  // namespace reference
