// An allocator that knows every block: it counts, fails on demand, fills with a pattern, and can place each
// block so that it ends at an unreadable page.
#pragma once

#include <emlreader/eml_host.h>

#include <cstddef>
#include <cstdint>
#include <map>

#include "support/guard_pool.h"
#include "support/journal.h"

namespace eml::test {

inline constexpr uint8_t kFreshByte = 0xA5;  // what fresh memory and unused room hold

// The entries of the journal that count the calls of this heap.
struct HeapEntries {
    Entry allocate;
    Entry reallocate;
    Entry allocateZeroed;
    Entry free;
};

class TrackedHeap {
  public:
    TrackedHeap(Journal& journal, HeapEntries entries, HeapMode mode, uint8_t freshByte = kFreshByte);
    ~TrackedHeap();
    TrackedHeap(const TrackedHeap&) = delete;
    TrackedHeap& operator=(const TrackedHeap&) = delete;

    // Fills in an allocator record whose entries lead here.
    void bind(EmlAllocator& record);

    // A block of the heap itself, uncounted: no fault applies.
    [[nodiscard]] void* take(size_t size);
    void give(void* block);

    [[nodiscard]] size_t liveBlocks() const { return live_.size(); }
    [[nodiscard]] uint64_t liveBytes() const { return liveBytes_; }
    [[nodiscard]] uint64_t peakBytes() const { return peakBytes_; }
    [[nodiscard]] uint64_t largestBlock() const { return largestBlock_; }

    // Blocks that a failed reallocate took from their owner by rule. They are not live.
    [[nodiscard]] size_t lostBlocks() const { return lost_.size(); }

    // The room from `at` to the end of the live block that holds it; SIZE_MAX when no live block does.
    [[nodiscard]] size_t roomAt(const void* at) const;

  private:
    static void* entryAllocate(EmlAllocator* self, uint32_t size);
    static void* entryReallocate(EmlAllocator* self, void* block, uint32_t size);
    static void* entryAllocateZeroed(EmlAllocator* self, uint32_t count, uint32_t size);
    static void entryFree(EmlAllocator* self, void* block);
    static TrackedHeap& of(EmlAllocator* self);

    void checkSelf(const EmlAllocator* self);
    void discard(void* block) const;

    Journal& journal_;
    HeapEntries entries_;
    HeapMode mode_;
    uint8_t freshByte_;
    const EmlAllocator* record_ = nullptr;
    std::map<uintptr_t, size_t> live_;  // sizes by address
    std::map<uintptr_t, size_t> lost_;
    uint64_t liveBytes_ = 0;
    uint64_t peakBytes_ = 0;
    uint64_t largestBlock_ = 0;
};

}  // namespace eml::test
