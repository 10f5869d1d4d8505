#include "standalone/heap.h"

#include <algorithm>
#include <cstdlib>

namespace emlhost {

namespace {

CountingHeap& heapOf(EmlAllocator* allocator) noexcept {
    return *reinterpret_cast<CountingHeap*>(allocator->context);
}

}  // namespace

CountingHeap::CountingHeap() noexcept : allocator_{}, list_{&list_, &list_, 0} { install(allocator_); }

CountingHeap::~CountingHeap() { freeAll(); }

// Several records may use one heap, so the record's own word leads to the heap.
void CountingHeap::install(EmlAllocator& record) noexcept {
    record.context = reinterpret_cast<uintptr_t>(this);
    record.allocate = [](EmlAllocator* self, uint32_t size) noexcept -> void* {
        return heapOf(self).allocate(size);
    };
    record.free = [](EmlAllocator* self, void* block) noexcept { heapOf(self).free(block); };
    record.reallocate = [](EmlAllocator* self, void* block, uint32_t newSize) noexcept -> void* {
        return heapOf(self).reallocate(block, newSize);
    };
    record.allocateZeroed = [](EmlAllocator* self, uint32_t count, uint32_t size) noexcept -> void* {
        return heapOf(self).allocateZeroed(count, size);
    };
}

void* CountingHeap::allocate(size_t size) noexcept {
    if (size > kMaxSize) return nullptr;
    return adopt(static_cast<Block*>(std::malloc(sizeof(Block) + size)), size);
}

void* CountingHeap::allocateZeroed(size_t count, size_t size) noexcept {
    if (size != 0 && count > kMaxSize / size) return nullptr;
    size_t bytes = count * size;
    return adopt(static_cast<Block*>(std::calloc(1, sizeof(Block) + bytes)), bytes);
}

void* CountingHeap::reallocate(void* block, size_t newSize) noexcept {
    if (block == nullptr) return allocate(newSize);
    if (newSize > kMaxSize) return nullptr;
    Block* old = static_cast<Block*>(block) - 1;
    size_t oldSize = old->size;
    // Meanwhile the block stays in the list; its neighbours are corrected only after it has moved.
    auto* moved = static_cast<Block*>(std::realloc(old, sizeof(Block) + newSize));
    if (moved == nullptr) return nullptr;
    moved->previous->next = moved;
    moved->next->previous = moved;
    moved->size = newSize;
    counts_.liveBytes = counts_.liveBytes - oldSize + newSize;
    counts_.peakBytes = std::max(counts_.peakBytes, counts_.liveBytes);
    ++counts_.allocations;
    return moved + 1;
}

void CountingHeap::free(void* block) noexcept {
    if (block == nullptr) return;
    Block* header = static_cast<Block*>(block) - 1;
    header->previous->next = header->next;  // NOLINT(clang-analyzer-unix.Malloc): the analyzer loses the ring
    header->next->previous = header->previous;
    counts_.liveBytes -= header->size;
    --counts_.liveBlocks;
    std::free(header);
}

void CountingHeap::freeAll() noexcept {
    while (list_.next != &list_) free(list_.next + 1);
}

// Puts a new block at the head of the list and counts it. Returns what the caller of the heap gets: the bytes
// after the header, or NULL for NULL.
void* CountingHeap::adopt(Block* block, size_t size) noexcept {
    if (block == nullptr) return nullptr;
    *block = {&list_, list_.next, size};
    block->next->previous = block;
    list_.next = block;
    counts_.liveBytes += size;
    counts_.peakBytes = std::max(counts_.peakBytes, counts_.liveBytes);
    ++counts_.liveBlocks;
    ++counts_.allocations;
    return block + 1;
}

}  // namespace emlhost
