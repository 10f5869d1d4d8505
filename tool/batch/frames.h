// What the processes of a batch send each other through pipes. Both ends are the same program on the same
// machine, so numbers have the form that they have in memory.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tool/batch/row.h"

namespace emltool {

// Where the bytes of a task are.
enum class TaskFile : uint64_t {
    kNamed,  // in the file that has the path
    kNew,    // in a file whose descriptor comes with the task
    kSame    // in the file that came last
};

// Goes before the path of an item and the name of the member.
struct TaskHeader {
    uint64_t pathLength;
    uint64_t memberLength;
    uint64_t hasMember;
    uint64_t hasIndex;
    uint64_t index;
    uint64_t hasPlace;
    uint64_t offset;
    uint64_t length;
    uint64_t hasRange;
    StoredRange range;
    TaskFile file;
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

inline void appendTask(std::string& bytes, const BatchItem& item, TaskFile file) {
    const std::string member = item.member.value_or("");
    TaskHeader header{};
    header.pathLength = item.path.size();
    header.memberLength = member.size();
    header.hasMember = item.member ? 1 : 0;
    header.hasIndex = item.index ? 1 : 0;
    header.index = item.index.value_or(0);
    header.hasPlace = item.hasPlace ? 1 : 0;
    header.offset = item.offset;
    header.length = item.length;
    header.hasRange = item.stored ? 1 : 0;
    header.range = item.stored.value_or(StoredRange{});
    header.file = file;
    appendHeader(bytes, header);
    bytes.append(item.path).append(member);
}

// The item of a header and the names after it; false if these are not all there.
inline bool takeTask(std::string_view bytes, BatchItem& item, TaskHeader& header) {
    if (bytes.size() < sizeof header) return false;
    header = headerAt<TaskHeader>(bytes);
    bytes.remove_prefix(sizeof header);
    if (bytes.size() < header.pathLength + header.memberLength) return false;
    item = BatchItem{};
    item.path = bytes.substr(0, static_cast<size_t>(header.pathLength));
    if (header.hasMember != 0)
        item.member = bytes.substr(item.path.size(), static_cast<size_t>(header.memberLength));
    if (header.hasIndex != 0) item.index = header.index;
    item.hasPlace = header.hasPlace != 0;
    item.offset = header.offset;
    item.length = header.length;
    if (header.hasRange != 0) item.stored = header.range;
    return true;
}

}  // namespace emltool
