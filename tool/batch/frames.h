// What the processes of a batch send each other through pipes. Both ends are the same program on the same
// machine, so numbers have the form that they have in memory.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tool/batch/row.h"

namespace emltool {

// Goes before the path of an item.
struct TaskHeader {
    uint64_t pathLength;
    uint64_t hasIndex;
    uint64_t index;
    uint64_t offset;
    uint64_t length;
};

// Goes before the row.
struct ReplyHeader {
    uint64_t lineLength;
    uint64_t kind;         // RowKind
    uint64_t retires;      // the worker ends after this row
    uint64_t nanoseconds;  // that the item took
};

template <typename Header>
void appendHeader(std::string& bytes, const Header& header) {
    bytes.append(reinterpret_cast<const char*>(&header), sizeof header);
}

// `bytes` holds a whole header.
template <typename Header>
Header headerAt(std::string_view bytes) {
    Header header;
    std::memcpy(&header, bytes.data(), sizeof header);
    return header;
}

inline void appendTask(std::string& bytes, const BatchItem& item) {
    appendHeader(bytes, TaskHeader{item.path.size(), item.index.has_value() ? 1u : 0u, item.index.value_or(0),
                                   item.offset, item.length});
    bytes += item.path;
}

}  // namespace emltool
