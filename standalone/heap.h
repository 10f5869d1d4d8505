// The heap that the stand-alone host gives the library.
#ifndef EMLREADER_STANDALONE_HEAP_H
#define EMLREADER_STANDALONE_HEAP_H

#include <emlreader/eml_host.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace emlhost {

// What a heap has counted. Bytes are those requested, without the header that the heap adds to each block.
struct HeapCounts {
    uint64_t liveBlocks = 0;
    uint64_t liveBytes = 0;
    uint64_t peakBytes = 0;    // the maximum of live bytes since resetPeak
    uint64_t allocations = 0;  // calls that returned a block, including reallocations
};

// An EmlAllocator over malloc that counts. It keeps some of the blocks that were freed, for the next message
// needs blocks of the same sizes; a build with AddressSanitizer or MemorySanitizer keeps none, so that it
// sees a use after free and a use of what was never set.
//
// Every block is a member of a list, for two reasons: the library drops a block whose reallocation failed,
// and a host should not depend on others to avoid leaks. The destructor frees whatever is still live.
//
// A heap belongs to one thread at a time, and must outlive every record that it was installed in.
class CountingHeap {
  public:
    CountingHeap() noexcept;
    ~CountingHeap();
    CountingHeap(const CountingHeap&) = delete;
    CountingHeap& operator=(const CountingHeap&) = delete;

    // The allocator record of this heap. Never NULL; valid as long as the heap.
    EmlAllocator* allocator() noexcept { return &allocator_; }

    // Makes `record`, for instance the one embedded in EmlHostServices, allocate from this heap too.
    void install(EmlAllocator& record) noexcept;

    // A block of `size` bytes, aligned for any type; NULL when memory is exhausted. A size of 0 returns a
    // block.
    void* allocate(size_t size) noexcept;

    // As allocate, for `count` elements of `size` bytes, filled with zeros. NULL also when the product does
    // not fit.
    void* allocateZeroed(size_t count, size_t size) noexcept;

    // Resizes `block`, NULL being an empty one. Returns NULL on failure; the old block stays live and
    // untouched.
    void* reallocate(void* block, size_t newSize) noexcept;

    // Frees `block`, which must be a live block of this heap or NULL.
    void free(void* block) noexcept;

    // Frees every live block.
    void freeAll() noexcept;

    const HeapCounts& counts() const noexcept { return counts_; }

    // Lets the next peak start from what is live now.
    void resetPeak() noexcept { counts_.peakBytes = counts_.liveBytes; }

  private:
    // Precedes each block; its size keeps the block after it aligned.
    struct alignas(alignof(std::max_align_t)) Block {
        Block* previous;
        Block* next;
        size_t size;
    };

    // A block, what it is rounded up by and its header must fit in a size_t.
    static constexpr size_t kMaxSize = SIZE_MAX / 2;

    // Sizes of blocks that are kept: whole steps, 32 small ones and then 16 large ones.
    static constexpr size_t kSmallStep = 32;
    static constexpr size_t kLargeStep = 512;
    static constexpr size_t kSmallClasses = 32;
    static constexpr size_t kClasses = 48;
    static constexpr size_t kMaxKept = size_t{256} << 10;  // bytes of all kept blocks

    static size_t classOf(size_t size) noexcept;
    static size_t roundedUp(size_t size) noexcept;
    Block* takeKept(size_t size) noexcept;
    bool keep(Block* block) noexcept;
    void* adopt(Block* block, size_t size) noexcept;

    EmlAllocator allocator_;
    Block list_;  // head of the ring of live blocks
    std::array<Block*, kClasses> kept_{};
    size_t keptBytes_ = 0;
    HeapCounts counts_;
};

}  // namespace emlhost

#endif
