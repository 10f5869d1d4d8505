// Substring search: every place, every byte.
#pragma once

#include "reference/bytes.h"

namespace reference {

inline constexpr size_t kNotFound = static_cast<size_t>(-1);

// Where `needle` first occurs in `text`. An empty needle occurs nowhere.
[[nodiscard]] size_t find(const Bytes& text, const Bytes& needle);

}  // namespace reference
