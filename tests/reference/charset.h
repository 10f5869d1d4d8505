// Charset names: one walk over the whole table.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace reference {

struct CharsetRow {
    const char* name;
    uint32_t id;
    bool containerOnly;
};

// All rows, in the order in which names are compared.
[[nodiscard]] std::span<const CharsetRow> charsetRows();

// `containerForm` adds the row that only the container reader knows.
[[nodiscard]] uint32_t charsetId(std::string_view name, bool containerForm);

// The id of the name after the "charset=" that `parameter` begins with.
[[nodiscard]] uint32_t charsetIdOfParameter(std::string_view parameter);

}  // namespace reference
