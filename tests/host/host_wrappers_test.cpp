// The thin layer over the host's records: memory, growth, files.
#include <gtest/gtest.h>

#include <cstring>

#include "host/growing_buffer.h"
#include "host/host_file.h"
#include "host/host_memory.h"
#include "support/recording_host.h"

namespace eml::test {
namespace {

// --- memory

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

// --- growth

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

// --- files

class FileWrapper : public ::testing::Test {
  protected:
    FileWrapper() : host_("0123456789") { host_.input().open(&host_.input()); }
    ~FileWrapper() override {
        if (host_.input().close != nullptr) host_.input().close(&host_.input());
    }

    RecordingHost host_;
};

TEST_F(FileWrapper, ReadGivesWhatWasDelivered) {
    char buffer[8] = {};
    ASSERT_TRUE(seekFile(host_.input(), 6));
    EXPECT_EQ(readFile(host_.input(), buffer, 8), 4U);
    EXPECT_EQ(std::string(buffer, 4), "6789");
    EXPECT_EQ(readFile(host_.input(), buffer, 8), 0U);
}

TEST_F(FileWrapper, ReadBelowOneIsTheEndAndMoreIsClamped) {
    char buffer[8] = {};
    host_.setReadStyle(ReadStyle::kMinusOne);
    EXPECT_EQ(readFile(host_.input(), buffer, 8), 0U);
    host_.setReadStyle(ReadStyle::kMoreThanAsked);
    EXPECT_EQ(readFile(host_.input(), buffer, 8), 8U);
}

TEST_F(FileWrapper, NothingIsReadForNothing) {
    EXPECT_EQ(readFile(host_.input(), nullptr, 0), 0U);
    EXPECT_EQ(host_.journal().calls(Entry::kInputRead), 0U);
}

TEST_F(FileWrapper, OffsetsAreSplitLowHalfFirst) {
    host_.extendTo(uint64_t{1} << 40);
    for (const int64_t offset : {int64_t{0}, int64_t{0x7FFFFFFF}, int64_t{0x80000000}, int64_t{0xFFFFFFFF},
                                 int64_t{1} << 32, (int64_t{3} << 32) + 0x80000001}) {
        ASSERT_TRUE(seekFile(host_.input(), offset));
        EXPECT_EQ(host_.input().tell(&host_.input()), offset);
    }
}

TEST_F(FileWrapper, SizeIsThePositionAtTheEnd) {
    EXPECT_EQ(seekToEnd(host_.input()), 10);
    ASSERT_TRUE(seekFile(host_.input(), 3));
    host_.journal().fail(Entry::kInputSeek, {host_.journal().calls(Entry::kInputSeek) + 1, true});
    EXPECT_EQ(seekToEnd(host_.input()), 3) << "the answer of the seek is not examined";
}

TEST_F(FileWrapper, MissingEntriesFail) {
    char buffer[8];
    host_.remove(Entry::kInputRead);
    host_.remove(Entry::kInputTell);
    EXPECT_EQ(readFile(host_.input(), buffer, 8), 0U);
    EXPECT_EQ(seekToEnd(host_.input()), -1);
    host_.remove(Entry::kInputSeek);
    EXPECT_FALSE(seekFile(host_.input(), 0));
    EXPECT_EQ(seekToEnd(host_.input()), -1);
}

TEST_F(FileWrapper, FinalSizeIsTwoWordsLowFirst) {
    EmlIOobj file{};
    file.seek = [](EmlIOobj*, uint32_t, int32_t, uint32_t) { return 1; };
    file.tell = [](EmlIOobj*) { return (int64_t{7} << 32) + 0x80000005; };
    storeFinalSize(file);
    EXPECT_EQ(file.size[0], 0x80000005U);
    EXPECT_EQ(file.size[1], 7U);
    file.tell = nullptr;
    file.size[0] = 1;
    storeFinalSize(file);
    EXPECT_EQ(file.size[0], 1U);
    writeFile(file, "x", 1);
}

}  // namespace
}  // namespace eml::test
