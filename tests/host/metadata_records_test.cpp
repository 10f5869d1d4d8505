// Metadata lists: entries, values that grow, and what is freed.
#include "host/metadata_records.h"

#include <gtest/gtest.h>

#include <cstring>

#include "host/scripted_services.h"

namespace eml::test {
namespace {

EmlResult store(EmlMetaDataEntry& entry, EmlAllocator& allocator, std::string_view value) {
    // In a block of exactly its size.
    const std::unique_ptr<uint8_t[]> block(new uint8_t[value.size()]);
    std::memcpy(block.get(), value.data(), value.size());
    return storeMetadataValue(entry, allocator, block.get(), static_cast<uint32_t>(value.size()));
}

std::string valueOf(const EmlMetaDataEntry& entry) {
    if (entry.value == nullptr) return "(none)";
    EXPECT_EQ(entry.value[entry.valueLength], 0) << "a zero byte after the value";
    return std::string(entry.value, entry.valueLength);
}

class MetadataRecords : public testing::Test {
  protected:
    ~MetadataRecords() override { releaseMetadata(list, allocator); }

    ScriptedServices services{HeapMode::kGuarded};
    EmlAllocator& allocator = services.record().allocator;
    EmlMetaData list{};
};

TEST_F(MetadataRecords, AnEntryIsAZeroedTextEntryWithItsName) {
    list.hostOwned[0] = list.hostOwned[1] = list.hostOwned[2] = 0xABCD;
    ASSERT_EQ(makeMetadataList(list, allocator, 3), EML_OK);
    EXPECT_EQ(list.count, 3);
    for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(list.entries[i], nullptr);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 1, "Subject"), EML_OK);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 2, nullptr), EML_OK);
    const EmlMetaDataEntry& entry = *list.entries[1];
    EXPECT_STREQ(entry.name, "Subject");
    EXPECT_EQ(list.entries[2]->name, nullptr);
    EXPECT_EQ(entry.hasValue, 0u);
    EXPECT_EQ(entry.reserved, 0u);
    EXPECT_EQ(entry.type, 7u);
    EXPECT_EQ(entry.value, nullptr);
    EXPECT_EQ(entry.valueLength, 0u);
    for (const uint32_t word : list.hostOwned) EXPECT_EQ(word, 0xABCDu);
    EXPECT_EQ(metadataEntry(list, 0), nullptr);
    EXPECT_EQ(metadataEntry(list, 1), list.entries[1]);
    EXPECT_EQ(metadataEntry(list, 3), nullptr);
}

TEST_F(MetadataRecords, RepeatedValuesAreJoinedByFiveNumberSigns) {
    ASSERT_EQ(makeMetadataList(list, allocator, 1), EML_OK);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 0, "To"), EML_OK);
    EmlMetaDataEntry& entry = *list.entries[0];
    std::string expected;
    for (int i = 0; i < 300; ++i) {
        const std::string value(static_cast<size_t>(1 + i * 7 % 40), static_cast<char>('a' + i % 26));
        expected += (i == 0 ? "" : "#####") + value;
        ASSERT_EQ(store(entry, allocator, value), EML_OK);
        ASSERT_EQ(valueOf(entry), expected);
        ASSERT_EQ(entry.hasValue, 1u);
        ASSERT_GE(services.heap().roomAt(entry.value), expected.size() + 1);
    }
}

// The blocks grow by more than a constant: the bytes copied stay in proportion to the value.
TEST_F(MetadataRecords, JoiningManyValuesReallocatesFewTimes) {
    ASSERT_EQ(makeMetadataList(list, allocator, 1), EML_OK);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 0, "To"), EML_OK);
    for (int i = 0; i < 100000; ++i) ASSERT_EQ(store(*list.entries[0], allocator, "a@b"), EML_OK);
    EXPECT_EQ(list.entries[0]->valueLength, 100000u * 8 - 5);
    EXPECT_LE(services.journal().calls(Entry::kReallocate), 40u);
}

TEST_F(MetadataRecords, AFailedReallocateLosesTheValueByRule) {
    ASSERT_EQ(makeMetadataList(list, allocator, 1), EML_OK);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 0, "To"), EML_OK);
    EmlMetaDataEntry& entry = *list.entries[0];
    ASSERT_EQ(store(entry, allocator, "a"), EML_OK);
    services.journal().fail(Entry::kReallocate, {1, true});
    EXPECT_EQ(store(entry, allocator, std::string(1000, 'b')), EML_NO_MEMORY);
    EXPECT_EQ(entry.value, nullptr);
    EXPECT_EQ(entry.valueLength, 0u);
    EXPECT_EQ(services.heap().lostBlocks(), 1u);
    services.journal().fail(Entry::kReallocate, {});
    EXPECT_EQ(store(entry, allocator, "c"), EML_OK) << "the entry can be used on";
    EXPECT_EQ(valueOf(entry), "c");
}

TEST_F(MetadataRecords, MakingFailsWithoutMemory) {
    services.journal().fail(Entry::kAllocate, {1, false});
    EXPECT_EQ(makeMetadataList(list, allocator, 2), EML_NO_MEMORY);
    EXPECT_EQ(list.entries, nullptr);
    EXPECT_EQ(list.count, 0);
    ASSERT_EQ(makeMetadataList(list, allocator, 2), EML_OK);
    services.journal().fail(Entry::kAllocate, {3, false});
    EXPECT_EQ(makeMetadataEntry(list, allocator, 0, "To"), EML_NO_MEMORY) << "the entry";
    services.journal().fail(Entry::kAllocate, {5, false});
    EXPECT_EQ(makeMetadataEntry(list, allocator, 0, "To"), EML_NO_MEMORY) << "the name";
    services.journal().fail(Entry::kAllocate, {8, false});
    EXPECT_EQ(makeMetadataEntry(list, allocator, 1, "Cc"), EML_OK);
    EXPECT_EQ(store(*list.entries[1], allocator, "x"), EML_NO_MEMORY) << "the value";
    EXPECT_EQ(list.entries[1]->value, nullptr);
}

TEST_F(MetadataRecords, HugeCountsAreRefused) {
    // On a heap that gives nothing of that size, and must not be asked for a wrapped one.
    services.journal().fail(Entry::kAllocate, {1, true});
    EXPECT_EQ(makeMetadataList(list, allocator, INT32_MAX), EML_NO_MEMORY);
    EXPECT_EQ(list.count, 0);
}

TEST_F(MetadataRecords, TextIsOnlyThatOfATextEntryOfThatName) {
    char name[] = "Subject";
    char value[] = "text";
    EmlMetaDataEntry entry{1, 0, 7, name, value, 4};
    EXPECT_EQ(metadataText(&entry, "Subject").left(), 4u);
    EXPECT_TRUE(metadataText(&entry, "subject").atEnd()) << "case matters";
    EXPECT_TRUE(metadataText(&entry, "Date").atEnd());
    EXPECT_TRUE(metadataText(nullptr, "Subject").atEnd());
    entry.type = 8;
    EXPECT_TRUE(metadataText(&entry, "Subject").atEnd());
    entry = {1, 0, 7, nullptr, value, 4};
    EXPECT_TRUE(metadataText(&entry, "Subject").atEnd());
    entry = {1, 0, 7, name, nullptr, 4};
    EXPECT_TRUE(metadataText(&entry, "Subject").atEnd());
}

// A value is freed when its type is one that owns a block.
TEST_F(MetadataRecords, ReleaseFreesTheValuesOfOwningTypes) {
    const bool owns[] = {false, false, true, false, false, false, false,
                         true,  true,  true, true,  true,  false, false};
    char foreign[] = "not a block";
    const auto types = static_cast<int32_t>(std::size(owns));
    ASSERT_EQ(makeMetadataList(list, allocator, types + 3), EML_OK);
    const uint32_t high[] = {32, 39, 0xFFFFFFFF};  // no shift out of range
    for (int32_t i = 0; i < types + 3; ++i) {
        ASSERT_EQ(makeMetadataEntry(list, allocator, i, i % 2 == 0 ? "To" : nullptr), EML_OK);
        EmlMetaDataEntry& entry = *list.entries[i];
        entry.type = i < types ? static_cast<uint32_t>(i) : high[i - types];
        if (i < types && owns[i]) {
            ASSERT_EQ(store(entry, allocator, "x"), EML_OK);
        } else {
            entry.value = foreign;
        }
    }
    releaseMetadata(list, allocator);  // the heap complains about a block that is not its own, or left
    EXPECT_EQ(services.heap().liveBlocks(), 0u);
    EXPECT_EQ(list.entries, nullptr);
    EXPECT_EQ(list.count, 0);
    releaseMetadata(list, allocator);
}

TEST_F(MetadataRecords, AHalfBuiltListIsReleased) {
    ASSERT_EQ(makeMetadataList(list, allocator, 7), EML_OK);
    ASSERT_EQ(makeMetadataEntry(list, allocator, 3, "Cc"), EML_OK);
    releaseMetadata(list, allocator);
    EXPECT_EQ(services.heap().liveBlocks(), 0u);
}

}  // namespace
}  // namespace eml::test
