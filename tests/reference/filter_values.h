// Values of header fields as the message filter decodes them, once more.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace reference {

struct FilterValue {
    std::vector<std::string> records;  // in the stream, the line break at the end among them
    std::string gathered;              // as metadata
    size_t end;                        // where the value ends: its last line end, or what else stopped it
};

// `text` begins with the value and may go on with other fields.
[[nodiscard]] FilterValue filterValue(std::string_view text);

}  // namespace reference
