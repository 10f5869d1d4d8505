#include "host/growing_array.h"

#include <gtest/gtest.h>

#include "support/recording_host.h"

namespace eml::test {
namespace {

struct Record {
    uint32_t words[19];
};

TEST(GrowingArray, GrowsByAStepOrByWhatThereIsRoomFor) {
    RecordingHost host("", {.heapMode = HeapMode::kGuarded});
    EmlAllocator& allocator = host.services().allocator;
    GrowingArray<Record> table{};
    constexpr int32_t kCapacities[] = {5, 10, 20, 40, 80};
    for (const int32_t capacity : kCapacities) {
        ASSERT_EQ(table.reserveOne(allocator), EML_OK);
        ASSERT_EQ(table.capacity, capacity);
        for (; table.count < table.capacity; ++table.count) {
            table.records[table.count].words[0] = static_cast<uint32_t>(table.count);
        }
    }
    for (int32_t i = 0; i < table.count; ++i) {
        EXPECT_EQ(table.records[i].words[0], static_cast<uint32_t>(i));
    }
    EXPECT_EQ(host.journal().calls(Entry::kAllocate), 1U) << "the first block is allocated, not reallocated";
    EXPECT_EQ(host.journal().calls(Entry::kReallocate), 4U);
    table.release(allocator);
    EXPECT_EQ(table.records, nullptr);
}

TEST(GrowingArray, RoomThatIsThereIsUsed) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    GrowingArray<Record> table{};
    ASSERT_EQ(table.reserveOne(allocator), EML_OK);
    table.count = 4;
    ASSERT_EQ(table.reserveOne(allocator), EML_OK);
    EXPECT_EQ(table.capacity, 5);
    EXPECT_EQ(host.journal().calls(Entry::kReallocate), 0U);
    table.release(allocator);
}

TEST(GrowingArray, FailedGrowthLosesTheBlockByRule) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    GrowingArray<Record> table{};
    ASSERT_EQ(table.reserveOne(allocator), EML_OK);
    table.count = table.capacity;
    host.journal().fail(Entry::kReallocate, {1, false});
    EXPECT_EQ(table.reserveOne(allocator), EML_NO_MEMORY);
    EXPECT_EQ(table.records, nullptr);
    EXPECT_EQ(table.count, 0);
    EXPECT_EQ(table.capacity, 0);
    EXPECT_EQ(host.heap().lostBlocks(), 1U);
    EXPECT_EQ(table.reserveOne(allocator), EML_OK) << "usable again";
    table.release(allocator);
}

TEST(GrowingArray, AFirstBlockThatIsRefusedLeavesAnEmptyTable) {
    RecordingHost host;
    host.journal().fail(Entry::kAllocate, {1, false});
    GrowingArray<Record> table{};
    EXPECT_EQ(table.reserveOne(host.services().allocator), EML_NO_MEMORY);
    EXPECT_EQ(table.records, nullptr);
    EXPECT_EQ(table.capacity, 0);
}

TEST(GrowingArray, NothingMoreThan32BitsIsEverAskedFor) {
    RecordingHost host;
    GrowingArray<Record> table{};
    table.count = table.capacity = INT32_MAX;
    EXPECT_EQ(table.reserveOne(host.services().allocator), EML_NO_MEMORY);
    EXPECT_EQ(host.journal().calls(Entry::kAllocate), 0U);
}

}  // namespace
}  // namespace eml::test
