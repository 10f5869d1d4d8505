#include "host/growing_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/recording_host.h"

namespace eml::test {
namespace {

TEST(GrowingBuffer, CapacityIsWholeUnitsAndGrowsLinearly) {
    const struct {
        uint64_t capacity;
        uint64_t needed;
        uint64_t grown;
    } rows[] = {
        {0, 1, 4096},
        {0, 4096, 4096},
        {0, 4097, 8192},
        {4096, 4097, 8192},
        {8192, 8193, 16384},
        {8192, 100000, 102400},
        {uint64_t{1} << 31, (uint64_t{1} << 31) + 1, (uint64_t{1} << 31) + 1},  // twice does not fit any more
    };
    for (const auto& row : rows) EXPECT_EQ(grownCapacity(row.capacity, row.needed), row.grown);
    EXPECT_GT(grownCapacity(4096, uint64_t{1} << 32), UINT32_MAX)
        << "what does not fit is asked for, and refused";
}

TEST(GrowingBuffer, AppendKeepsWhatWasThere) {
    RecordingHost host("", {.heapMode = HeapMode::kGuarded});
    EmlAllocator& allocator = host.services().allocator;
    GrowingBuffer buffer{};
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = std::to_string(i);
        ASSERT_EQ(buffer.append(allocator, reinterpret_cast<const uint8_t*>(text.data()), text.size()),
                  EML_OK);
        expected += text;
    }
    ASSERT_EQ(buffer.length, expected.size());
    EXPECT_EQ(std::memcmp(buffer.data, expected.data(), expected.size()), 0);
    EXPECT_LE(host.journal().calls(Entry::kReallocate), 3U);
    EXPECT_EQ(host.journal().calls(Entry::kAllocate), 1U) << "the first block is allocated, not reallocated";
    buffer.release(allocator);
    EXPECT_EQ(buffer.data, nullptr);
}

// KEPT: a failed reallocate loses the old block.
TEST(GrowingBuffer, FailedGrowthLosesTheBlockByRule) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    GrowingBuffer buffer{};
    ASSERT_EQ(buffer.reserve(allocator, 1), EML_OK);
    host.journal().fail(Entry::kReallocate, {1, false});
    EXPECT_EQ(buffer.reserve(allocator, 5000), EML_NO_MEMORY);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.capacity, 0U);
    EXPECT_EQ(buffer.length, 0U);
    EXPECT_EQ(host.heap().lostBlocks(), 1U);
    EXPECT_EQ(host.journal().calls(Entry::kFree), 0U);
    EXPECT_EQ(buffer.reserve(allocator, 1), EML_OK) << "usable again";
    buffer.release(allocator);
}

TEST(GrowingBuffer, NothingMoreThan32BitsIsEverAskedFor) {
    RecordingHost host;
    GrowingBuffer buffer{};
    buffer.length = UINT32_MAX;
    EXPECT_EQ(buffer.reserve(host.services().allocator, 1), EML_NO_MEMORY);
    EXPECT_EQ(host.journal().calls(Entry::kAllocate), 0U);
}

}  // namespace
}  // namespace eml::test
