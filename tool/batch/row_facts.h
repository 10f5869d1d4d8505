// What a row says of its message, read again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tool/message/thread_fields.h"

namespace emltool {

struct RowFacts {
    std::string path;
    std::optional<uint64_t> index;
    std::optional<ThreadFields> threadFields;  // nothing without a message, or from a reader that has none
    std::string subject;
};

// Reads where the message is. False if the row does not say so.
bool readRowSource(std::string_view row, RowFacts& facts);

// Reads all of it. What follows in the row is not looked at.
bool readRowFacts(std::string_view row, RowFacts& facts);

}  // namespace emltool
