#include "support/tracked_heap.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace eml::test {
namespace {

// How many freed mappings stay unreadable before the oldest are given back.
constexpr size_t kClosedLimit = 4000;

uintptr_t key(const void* block) { return reinterpret_cast<uintptr_t>(block); }

size_t pageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

TrackedHeap::TrackedHeap(Journal& journal, HeapEntries entries, HeapMode mode)
    : journal_(journal), entries_(entries), mode_(mode) {}

TrackedHeap::~TrackedHeap() {
    for (const auto& [at, placement] : live_) discard(reinterpret_cast<void*>(at), placement);
    for (const auto& [at, placement] : lost_) discard(reinterpret_cast<void*>(at), placement);
    for (const Placement& placement : closed_) munmap(placement.base, placement.mapped);
}

void TrackedHeap::bind(EmlAllocator& record) {
    record.context = reinterpret_cast<uintptr_t>(this);
    record.allocate = &TrackedHeap::entryAllocate;
    record.reallocate = &TrackedHeap::entryReallocate;
    record.allocateZeroed = &TrackedHeap::entryAllocateZeroed;
    record.free = &TrackedHeap::entryFree;
    record_ = &record;
}

void* TrackedHeap::place(size_t size, Placement& placement) const {
    placement = {size, nullptr, 0};
    if (mode_ == HeapMode::kPlain) return std::malloc(size != 0 ? size : 1);
    const size_t page = pageSize();
    const size_t room = (size + page - 1) / page * page;
    void* base = mmap(nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    placement.base = static_cast<uint8_t*>(base);
    placement.mapped = room + page;
    mprotect(placement.base + room, page, PROT_NONE);
    // The block ends where the page ends, so its alignment is what its size allows: records keep theirs.
    return placement.base + room - size;
}

void* TrackedHeap::take(size_t size) {
    Placement placement{};
    void* block = place(size, placement);
    if (block == nullptr) return nullptr;
    std::memset(block, kFreshByte, size);
    live_[key(block)] = placement;
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
    const Placement placement = found->second;
    live_.erase(found);
    liveBytes_ -= placement.size;
    if (placement.base == nullptr) {
        std::memset(block, 0xDD, placement.size);
        std::free(block);
    } else if (closed_.size() < kClosedLimit) {
        mprotect(placement.base, placement.mapped, PROT_NONE);
        closed_.push_back(placement);
    } else {
        munmap(placement.base, placement.mapped);
    }
}

void TrackedHeap::discard(void* block, const Placement& placement) {
    if (placement.base == nullptr) {
        std::free(block);
    } else {
        munmap(placement.base, placement.mapped);
    }
}

size_t TrackedHeap::roomAt(const void* at) const {
    auto next = live_.upper_bound(key(at));
    if (next == live_.begin()) return SIZE_MAX;
    --next;
    const uintptr_t offset = key(at) - next->first;
    return offset < next->second.size ? next->second.size - offset : SIZE_MAX;
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
    const size_t oldSize = found->second.size;
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
