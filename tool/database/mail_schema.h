// The tables of a database of messages.
#pragma once

#include <cstdint>

namespace emltool {

// In the header of the file, so that other programs can tell what it is: "EML1".
inline constexpr int64_t kApplicationId = 0x454D4C31;
inline constexpr int64_t kSchemaVersion = 1;

// docs/sql.md explains the columns.
extern const char* const kMailSchema;

}  // namespace emltool
