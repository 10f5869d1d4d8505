#include "standalone/heap.h"

#include <gtest/gtest.h>

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
