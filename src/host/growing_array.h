// A table of records that grows at the end, in memory of the host.
#pragma once

#include "host/host_memory.h"

namespace eml {

inline constexpr int32_t kArrayStep = 5;

// Zero is the initial state: no block, no record, no room.
template <class Record>
struct GrowingArray {
    static_assert(sizeof(Record) > 1, "a capacity whose bytes fit in 32 bits must fit in int32_t");

    Record* records;
    int32_t count;
    int32_t capacity;

    // Makes room for one more record after the last. The table grows by one step or doubles, whichever is more,
    // so that a long table grows in linear time. When the host cannot reallocate, the old block is lost: the table
    // is empty then.
    [[nodiscard]] EmlResult reserveOne(EmlAllocator& allocator) {
        if (count < capacity) return EML_OK;
        const int64_t wanted = int64_t{capacity} + (capacity > kArrayStep ? capacity : kArrayStep);
        const uint64_t size = static_cast<uint64_t>(wanted) * sizeof(Record);
        void* block =
            records == nullptr ? allocateBlock(allocator, size) : reallocateBlock(allocator, records, size);
        records = static_cast<Record*>(block);
        if (records == nullptr) {
            *this = GrowingArray{};
            return EML_NO_MEMORY;
        }
        capacity = static_cast<int32_t>(wanted);
        return EML_OK;
    }

    void release(EmlAllocator& allocator) {
        freeBlock(allocator, records);
        *this = GrowingArray{};
    }
};

}  // namespace eml
