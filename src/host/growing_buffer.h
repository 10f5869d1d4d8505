// A buffer that grows at the end, in memory of the host.
#pragma once

#include "host/host_memory.h"

namespace eml {

inline constexpr uint32_t kGrowthUnit = 4096;

// The capacity to grow to: whole units, and at least twice the old capacity, so that appending takes linear
// time.
[[nodiscard]] constexpr uint64_t grownCapacity(uint64_t capacity, uint64_t needed) {
    const uint64_t wanted = needed > 2 * capacity ? needed : 2 * capacity;
    const uint64_t whole = (wanted + kGrowthUnit - 1) / kGrowthUnit * kGrowthUnit;
    return whole <= UINT32_MAX || needed > UINT32_MAX ? whole : needed;
}

struct GrowingBuffer {
    uint8_t* data;
    uint32_t capacity;
    uint32_t length;

    // Makes room for `more` bytes after the content. KEPT: when the host cannot reallocate, the old block is
    // lost: the pointer becomes NULL and the content is gone.
    [[nodiscard]] EmlResult reserve(EmlAllocator& allocator, uint64_t more) {
        const uint64_t needed = length + more;
        if (data != nullptr && needed <= capacity) return EML_OK;
        const uint64_t wanted = grownCapacity(capacity, needed);
        void* block =
            data == nullptr ? allocateBlock(allocator, wanted) : reallocateBlock(allocator, data, wanted);
        data = static_cast<uint8_t*>(block);
        if (data == nullptr) {
            capacity = 0;
            length = 0;
            return EML_NO_MEMORY;
        }
        capacity = static_cast<uint32_t>(wanted);
        return EML_OK;
    }

    [[nodiscard]] EmlResult append(EmlAllocator& allocator, const uint8_t* bytes, uint64_t count) {
        if (count == 0) return EML_OK;
        if (EmlResult result = reserve(allocator, count); result != EML_OK) return result;
        std::memcpy(data + length, bytes, static_cast<size_t>(count));
        length += static_cast<uint32_t>(count);
        return EML_OK;
    }

    void release(EmlAllocator& allocator) {
        freeBlock(allocator, data);
        *this = GrowingBuffer{};
    }
};

}  // namespace eml
