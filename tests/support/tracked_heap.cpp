#include "support/tracked_heap.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace eml::test {
namespace {

uintptr_t key(const void* block) { return reinterpret_cast<uintptr_t>(block); }

}  // namespace

TrackedHeap::TrackedHeap(Journal& journal, HeapEntries entries, HeapMode mode, uint8_t freshByte)
    : journal_(journal), entries_(entries), mode_(mode), freshByte_(freshByte) {}

TrackedHeap::~TrackedHeap() {
    for (const auto& [at, size] : live_) discard(reinterpret_cast<void*>(at));
    for (const auto& [at, size] : lost_) discard(reinterpret_cast<void*>(at));
}

void TrackedHeap::bind(EmlAllocator& record) {
    record.context = reinterpret_cast<uintptr_t>(this);
    record.allocate = &TrackedHeap::entryAllocate;
    record.reallocate = &TrackedHeap::entryReallocate;
    record.allocateZeroed = &TrackedHeap::entryAllocateZeroed;
    record.free = &TrackedHeap::entryFree;
    record_ = &record;
}

void* TrackedHeap::take(size_t size) {
    void* block =
        mode_ == HeapMode::kPlain ? std::malloc(size != 0 ? size : 1) : GuardPool::instance().take(size);
    if (block == nullptr) return nullptr;
    std::memset(block, freshByte_, size);
    live_[key(block)] = size;
    liveBytes_ += size;
    if (liveBytes_ > peakBytes_) peakBytes_ = liveBytes_;
    if (size > largestBlock_) largestBlock_ = size;
    return block;
}

void TrackedHeap::give(void* block) {
    const auto found = live_.find(key(block));
    if (found == live_.end()) {
        journal_.violation("free of a block that is not live");
        return;
    }
    const size_t size = found->second;
    live_.erase(found);
    liveBytes_ -= size;
    if (mode_ == HeapMode::kPlain) std::memset(block, 0xDD, size);
    discard(block);
}

void TrackedHeap::discard(void* block) const {
    if (mode_ == HeapMode::kPlain) {
        std::free(block);
    } else {
        GuardPool::instance().give(block);
    }
}

size_t TrackedHeap::roomAt(const void* at) const {
    auto next = live_.upper_bound(key(at));
    if (next == live_.begin()) return SIZE_MAX;
    --next;
    const uintptr_t offset = key(at) - next->first;
    return offset < next->second ? next->second - offset : SIZE_MAX;
}

TrackedHeap& TrackedHeap::of(EmlAllocator* self) {
    auto& heap = *reinterpret_cast<TrackedHeap*>(self->context);
    heap.checkSelf(self);
    return heap;
}

void TrackedHeap::checkSelf(const EmlAllocator* self) {
    if (self != record_) journal_.violation("an allocator entry got another record than its own");
}

void* TrackedHeap::entryAllocate(EmlAllocator* self, uint32_t size) {
    TrackedHeap& heap = of(self);
    return heap.journal_.note(heap.entries_.allocate) ? nullptr : heap.take(size);
}

void* TrackedHeap::entryAllocateZeroed(EmlAllocator* self, uint32_t count, uint32_t size) {
    TrackedHeap& heap = of(self);
    if (heap.journal_.note(heap.entries_.allocateZeroed)) return nullptr;
    const uint64_t bytes = uint64_t{count} * size;
    if (bytes > UINT32_MAX) return nullptr;
    void* block = heap.take(static_cast<size_t>(bytes));
    if (block != nullptr) std::memset(block, 0, static_cast<size_t>(bytes));
    return block;
}

void* TrackedHeap::entryReallocate(EmlAllocator* self, void* block, uint32_t size) {
    TrackedHeap& heap = of(self);
    const bool fails = heap.journal_.note(heap.entries_.reallocate);
    const auto found = heap.live_.find(key(block));
    if (found == heap.live_.end()) {
        heap.journal_.violation("reallocate of a block that is not live");
        return nullptr;
    }
    const size_t oldSize = found->second;
    void* grown = fails ? nullptr : heap.take(size);
    if (grown == nullptr) {
        heap.lost_.insert(heap.live_.extract(found));
        heap.liveBytes_ -= oldSize;
        return nullptr;
    }
    std::memcpy(grown, block, oldSize < size ? oldSize : size);
    heap.give(block);
    return grown;
}

void TrackedHeap::entryFree(EmlAllocator* self, void* block) {
    TrackedHeap& heap = of(self);
    (void)heap.journal_.note(heap.entries_.free);
    if (block != nullptr) heap.give(block);
}

}  // namespace eml::test
