#include "standalone/heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace emlhost {

namespace {

#ifndef __has_feature  // clang has it
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kKeepsBlocks = false;
#else
constexpr bool kKeepsBlocks = true;
#endif

CountingHeap& heapOf(EmlAllocator* allocator) noexcept {
    return *reinterpret_cast<CountingHeap*>(allocator->context);
}

}  // namespace

CountingHeap::CountingHeap() noexcept : allocator_{}, list_{&list_, &list_, 0} { install(allocator_); }

CountingHeap::~CountingHeap() {
    freeAll();
    for (Block* block : kept_) {
        while (block != nullptr) std::free(std::exchange(block, block->next));
    }
}

// kClasses for sizes that are not kept.
size_t CountingHeap::classOf(size_t size) noexcept {
    constexpr size_t kSmall = kSmallStep * kSmallClasses;
    if (size <= kSmall) return size == 0 ? 0 : (size - 1) / kSmallStep;
    return std::min(kSmallClasses + (size - 1) / kLargeStep - kSmall / kLargeStep, kClasses);
}

size_t CountingHeap::roundedUp(size_t size) noexcept {
    const size_t sizeClass = classOf(size);
    if (sizeClass == kClasses) return size;
    const size_t step = sizeClass < kSmallClasses ? kSmallStep : kLargeStep;
    return std::max<size_t>((size + step - 1) / step, 1) * step;
}

// A kept block with room for `size` bytes; NULL if there is none.
CountingHeap::Block* CountingHeap::takeKept(size_t size) noexcept {
    const size_t sizeClass = classOf(size);
    if (sizeClass == kClasses || kept_[sizeClass] == nullptr) return nullptr;
    keptBytes_ -= roundedUp(size);
    return std::exchange(kept_[sizeClass], kept_[sizeClass]->next);
}

// Whether the block, which is in no list, is kept and not to be freed.
bool CountingHeap::keep(Block* block) noexcept {
    const size_t sizeClass = classOf(block->size);
    const size_t bytes = roundedUp(block->size);
    if (!kKeepsBlocks || sizeClass == kClasses || bytes > kMaxKept - keptBytes_) return false;
    keptBytes_ += bytes;
    block->next = std::exchange(kept_[sizeClass], block);
    return true;
}

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
    Block* const kept = takeKept(size);
    if (kept != nullptr) return adopt(kept, size);
    return adopt(static_cast<Block*>(std::malloc(sizeof(Block) + roundedUp(size))), size);
}

void* CountingHeap::allocateZeroed(size_t count, size_t size) noexcept {
    if (size != 0 && count > kMaxSize / size) return nullptr;
    size_t bytes = count * size;
    void* const block = allocate(bytes);
    return block == nullptr ? nullptr : std::memset(block, 0, bytes);
}

void* CountingHeap::reallocate(void* block, size_t newSize) noexcept {
    if (block == nullptr) return allocate(newSize);
    if (newSize > kMaxSize) return nullptr;
    Block* old = static_cast<Block*>(block) - 1;
    size_t oldSize = old->size;
    // Meanwhile the block stays in the list; its neighbours are corrected only after it has moved.
    auto* moved = static_cast<Block*>(std::realloc(old, sizeof(Block) + roundedUp(newSize)));
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
    if (!keep(header)) std::free(header);
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
