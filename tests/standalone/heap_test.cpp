#include "standalone/heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using emlhost::CountingHeap;

TEST(CountingHeap, CountsLiveBlocksBytesPeakAndAllocations) {
    CountingHeap heap;
    EmlAllocator* allocator = heap.allocator();
    void* first = allocator->allocate(allocator, 100);
    void* second = allocator->allocate(allocator, 50);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    allocator->free(allocator, first);
    EXPECT_EQ(heap.counts().liveBlocks, 1u);
    EXPECT_EQ(heap.counts().liveBytes, 50u);
    EXPECT_EQ(heap.counts().peakBytes, 150u);
    EXPECT_EQ(heap.counts().allocations, 2u);
    heap.resetPeak();
    EXPECT_EQ(heap.counts().peakBytes, 50u);
    allocator->free(allocator, second);
    EXPECT_EQ(heap.counts().liveBlocks, 0u);
    EXPECT_EQ(heap.counts().liveBytes, 0u);
}

TEST(CountingHeap, ReallocationKeepsContentAndIsCounted) {
    CountingHeap heap;
    EmlAllocator* allocator = heap.allocator();
    // Neighbours in the list on both sides, so that a moved block must be put back between them.
    void* before = allocator->allocate(allocator, 8);
    void* block = allocator->allocate(allocator, 8);
    void* behind = allocator->allocate(allocator, 8);
    std::memcpy(block, "content", 8);
    for (uint32_t size = 16; size <= (1u << 20); size *= 4) {
        block = allocator->reallocate(allocator, block, size);
        ASSERT_NE(block, nullptr);
        EXPECT_STREQ(static_cast<char*>(block), "content");
        EXPECT_EQ(heap.counts().liveBytes, 16u + size);
    }
    EXPECT_EQ(heap.counts().liveBlocks, 3u);
    for (void* one : {before, behind, block}) allocator->free(allocator, one);
    EXPECT_EQ(heap.counts().liveBytes, 0u);
    EXPECT_EQ(heap.counts().liveBlocks, 0u);
}

TEST(CountingHeap, ReallocationOfNullAllocates) {
    CountingHeap heap;
    void* block = heap.allocator()->reallocate(heap.allocator(), nullptr, 10);
    EXPECT_NE(block, nullptr);
    EXPECT_EQ(heap.counts().liveBlocks, 1u);
}

TEST(CountingHeap, FailedReallocationLeavesTheBlockLive) {
    CountingHeap heap;
    void* block = heap.allocate(10);
    std::memset(block, 'x', 10);
    EXPECT_EQ(heap.reallocate(block, SIZE_MAX), nullptr);
    EXPECT_EQ(heap.counts().liveBlocks, 1u);
    EXPECT_EQ(heap.counts().liveBytes, 10u);
    EXPECT_EQ(static_cast<char*>(block)[9], 'x');
    // Not freed here: the heap does it, and the leak checker would tell.
}

TEST(CountingHeap, ZeroedBlocksAreZero) {
    CountingHeap heap;
    // A used block first, so that memory with other content is likely to come again.
    void* used = heap.allocate(2 * 32);
    std::memset(used, 0xAA, 2 * 32);
    heap.free(used);
    auto* block = static_cast<uint8_t*>(heap.allocator()->allocateZeroed(heap.allocator(), 2, 32));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(block, block + 64), std::vector<uint8_t>(64, 0));
    EXPECT_EQ(heap.counts().liveBytes, 64u);
}

TEST(CountingHeap, ProductThatDoesNotFitIsRefused) {
    CountingHeap heap;
    EXPECT_EQ(heap.allocateZeroed(SIZE_MAX / 2, 3), nullptr);
    EXPECT_EQ(heap.allocateZeroed(1, SIZE_MAX), nullptr);
    EXPECT_EQ(heap.allocate(SIZE_MAX), nullptr);
    EXPECT_EQ(heap.counts().allocations, 0u);
}

TEST(CountingHeap, EmptyBlocksAreBlocks) {
    CountingHeap heap;
    void* empty = heap.allocate(0);
    void* zeroed = heap.allocateZeroed(0, 0);
    EXPECT_NE(empty, nullptr);
    EXPECT_NE(zeroed, nullptr);
    EXPECT_NE(empty, zeroed);
    heap.free(empty);
    heap.free(zeroed);
    heap.free(nullptr);
    EXPECT_EQ(heap.counts().liveBlocks, 0u);
}

// Blocks come and go in any order and size, some of them used before: none overlaps another, and content moves along.
TEST(CountingHeap, BlocksUsedAgainAreWholeBlocks) {
    struct Live {
        uint8_t* bytes;
        size_t size;
        uint8_t mark;
    };
    CountingHeap heap;
    std::vector<Live> live;
    uint32_t state = 1;
    const auto below = [&state](uint32_t limit) {
        state = state * 1664525U + 1013904223U;
        return (state >> 8) % limit;
    };
    const auto isWhole = [](const Live& block) {
        return std::all_of(block.bytes, block.bytes + block.size,
                           [&](uint8_t byte) { return byte == block.mark; });
    };
    uint64_t bytes = 0;
    for (uint32_t round = 0; round < 20000; ++round) {
        const size_t size = below(4) == 0 ? below(12000) : below(1100);
        const auto mark = static_cast<uint8_t>(round);
        if (live.size() < 50 || below(2) == 0) {
            live.push_back({static_cast<uint8_t*>(heap.allocate(size)), size, mark});
        } else {
            Live& block = live[below(static_cast<uint32_t>(live.size()))];
            ASSERT_TRUE(isWhole(block)) << round;
            bytes -= block.size;
            if (below(3) == 0) {
                const uint8_t first = block.size == 0 ? 0 : block.bytes[0];
                block.bytes = static_cast<uint8_t*>(heap.reallocate(block.bytes, size));
                if (size != 0 && block.size != 0) {
                    ASSERT_EQ(block.bytes[0], first) << round;
                }
                block = {block.bytes, size, mark};
            } else {
                heap.free(block.bytes);
                block = live.back();
                live.pop_back();
                continue;
            }
            std::fill_n(block.bytes, size, mark);
            bytes += size;
            continue;
        }
        std::fill_n(live.back().bytes, size, mark);
        bytes += size;
        ASSERT_EQ(heap.counts().liveBytes, bytes) << round;
        ASSERT_EQ(heap.counts().liveBlocks, live.size()) << round;
    }
    for (const Live& block : live) ASSERT_TRUE(isWhole(block));
}

TEST(CountingHeap, BlocksAreAlignedForAnyType) {
    CountingHeap heap;
    for (size_t size = 0; size < 40; ++size) {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(heap.allocate(size)) % alignof(std::max_align_t), 0u);
    }
}

TEST(CountingHeap, FreeAllEmptiesTheHeapForFurtherUse) {
    CountingHeap heap;
    for (int i = 0; i < 5; ++i) ASSERT_NE(heap.allocate(10), nullptr);
    heap.freeAll();
    EXPECT_EQ(heap.counts().liveBlocks, 0u);
    EXPECT_NE(heap.allocate(10), nullptr);
    EXPECT_EQ(heap.counts().liveBlocks, 1u);
}

TEST(CountingHeap, OneHeapBehindSeveralRecords) {
    CountingHeap heap;
    EmlAllocator other{};
    heap.install(other);
    void* block = other.allocate(&other, 7);
    EXPECT_EQ(heap.counts().liveBytes, 7u);
    heap.allocator()->free(heap.allocator(), block);
    EXPECT_EQ(heap.counts().liveBlocks, 0u);
}

}  // namespace
