// Where a message of a database is.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tool/database/database.h"
#include "tool/text/base64_text.h"

namespace emltool {

struct StoredPlace {
    std::string path;               // as the batch had it, in whatever bytes
    std::optional<uint64_t> index;  // in an mbox or archive, from 0 on
};

// Reads it from the columns path, path_b64 and mbox_index, the first of which is `column`.
inline StoredPlace storedPlace(const Statement& row, int column) {
    const bool isUtf8 = row.isNull(column + 1);
    return {isUtf8 ? row.text(column) : bytesOfBase64(row.text(column + 1)), row.optionalNumber(column + 2)};
}

}  // namespace emltool
