#include "host/host_memory.h"

#include <gtest/gtest.h>

#include "support/recording_host.h"

namespace eml::test {
namespace {

TEST(HostMemory, RecordsAreZeroedThoughFreshMemoryIsNot) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    auto* words = allocateRecords<uint32_t>(allocator, 10);
    ASSERT_NE(words, nullptr);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(words[i], 0U);
    EXPECT_EQ(host.journal().calls(Entry::kAllocateZeroed), 0U) << "a host need not offer that entry";
    freeBlock(allocator, words);
}

TEST(HostMemory, SizesThatDoNotFitIn32BitsAreExhaustedMemory) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    EXPECT_EQ(allocateBlock(allocator, uint64_t{1} << 32), nullptr);
    EXPECT_EQ(allocateRecords<uint64_t>(allocator, (uint64_t{1} << 32) / 8), nullptr);
    EXPECT_EQ(allocateRecords<uint8_t>(allocator, UINT64_MAX), nullptr);
    EXPECT_EQ(reallocateBlock(allocator, nullptr, uint64_t{1} << 40), nullptr);
    EXPECT_EQ(copyText(allocator, "", UINT32_MAX), nullptr) << "the terminator does not fit";
    EXPECT_EQ(host.journal().calls(Entry::kAllocate) + host.journal().calls(Entry::kReallocate), 0U);
}

TEST(HostMemory, MissingEntriesAreExhaustedMemory) {
    RecordingHost host;
    host.remove(Entry::kAllocate);
    host.remove(Entry::kReallocate);
    host.remove(Entry::kFree);
    EmlAllocator& allocator = host.services().allocator;
    EXPECT_EQ(allocateBlock(allocator, 1), nullptr);
    EXPECT_EQ(reallocateBlock(allocator, nullptr, 1), nullptr);
    EXPECT_EQ(copyText(allocator, "x", 1), nullptr);
    int block = 0;
    freeBlock(allocator, &block);
}

TEST(HostMemory, NullIsNeverFreed) {
    RecordingHost host;
    freeBlock(host.services().allocator, nullptr);
    EXPECT_EQ(host.journal().calls(Entry::kFree), 0U);
}

TEST(HostMemory, CopiedTextIsTerminated) {
    RecordingHost host;
    EmlAllocator& allocator = host.services().allocator;
    char* copy = copyText(allocator, "abcdef", 3);
    EXPECT_STREQ(copy, "abc");
    char* empty = copyText(allocator, nullptr, 0);
    EXPECT_STREQ(empty, "");
    freeBlock(allocator, copy);
    freeBlock(allocator, empty);
}

TEST(HostMemory, ScopedBlockIsFreedAtTheEndOfItsScope) {
    RecordingHost host;
    {
        const ScopedBlock block(host.services().allocator, 100);
        ASSERT_NE(block.bytes(), nullptr);
        EXPECT_EQ(host.heap().liveBlocks(), 1U);
    }
    EXPECT_EQ(host.heap().liveBlocks(), 0U);
}

}  // namespace
}  // namespace eml::test
