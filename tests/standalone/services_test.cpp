#include "standalone/services.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "standalone/temporary_folder.h"

namespace {

using emlhost::Services;
using emlhost_test::TemporaryFolder;

EmlTextSpan spanOf(std::string& text) { return {text.data(), static_cast<uint32_t>(text.size())}; }

// Both calls of convertTextFrom, with a guard after the room that is given.
std::string convertFrom(Services& services, uint32_t charset, std::string text) {
    EmlHostServices* record = services.record();
    EmlTextSpan source = spanOf(text);
    EmlTextSpan destination{nullptr, 0};
    record->convertTextFrom(record, charset, &source, &destination, EML_CONVERT_SUBSTITUTE);
    std::string buffer(destination.length + 1, '#');
    destination.text = buffer.data();
    record->convertTextFrom(record, charset, &source, &destination, EML_CONVERT_SUBSTITUTE);
    EXPECT_EQ(buffer.back(), '#');
    EXPECT_EQ(destination.length, buffer.size() - 1);
    buffer.pop_back();
    return buffer;
}

TEST(Services, EveryEntryIsFilledAndNothingElse) {
    Services services;
    const EmlHostServices* record = services.record();
    EXPECT_NE(record->openFile, nullptr);
    EXPECT_NE(record->duplicateString, nullptr);
    EXPECT_NE(record->convertText, nullptr);
    EXPECT_NE(record->convertTextFrom, nullptr);
    EXPECT_NE(record->isLeadByte, nullptr);
    EXPECT_NE(record->resetCharset, nullptr);
    EXPECT_NE(record->storeDate, nullptr);
    EXPECT_NE(record->allocator.allocate, nullptr);
    EXPECT_NE(record->allocator.free, nullptr);
    EXPECT_NE(record->allocator.reallocate, nullptr);
    EXPECT_NE(record->allocator.allocateZeroed, nullptr);
    EXPECT_EQ(record->currentCharset, EML_CHARSET_UNKNOWN);
    EXPECT_EQ(record->lastError, EML_OK);
    for (const void* word : record->hostOwned6) EXPECT_EQ(word, nullptr);
}

TEST(Services, TheTwoHeapsAreApart) {
    Services services;
    EmlAllocator* own = &services.record()->allocator;
    EmlAllocator* host = services.hostRecord()->allocator;
    EXPECT_NE(services.hostRecord()->hostOwned, 0u);
    own->free(own, own->allocate(own, 10));
    void* kept = host->allocate(host, 20);
    EXPECT_EQ(services.heap().counts().allocations, 1u);
    EXPECT_EQ(services.heap().counts().liveBlocks, 0u);
    EXPECT_EQ(services.hostHeap().counts().liveBytes, 20u);
    host->free(host, kept);
}

TEST(Services, DuplicatesStringsInTheLibrarysHeap) {
    Services services;
    EmlHostServices* record = services.record();
    char* copy = record->duplicateString(record, "zt1.eml");
    EXPECT_STREQ(copy, "zt1.eml");
    EXPECT_EQ(services.heap().counts().liveBytes, 8u);
    record->allocator.free(&record->allocator, copy);
    EXPECT_EQ(services.heap().counts().liveBlocks, 0u);
    EXPECT_EQ(record->duplicateString(record, nullptr), nullptr);
}

TEST(Services, ConvertsToSixteenBitTextFromTheCurrentCharset) {
    Services services;
    EmlHostServices* record = services.record();
    record->currentCharset = EML_CHARSET_CYRILLIC;
    std::string text = "\xCF!";
    EmlTextSpan source = spanOf(text);
    EmlTextSpan destination{nullptr, 0};
    record->convertText(record, &source, &destination, EML_CONVERT_FORM, 0);
    ASSERT_EQ(destination.length, 4u);
    std::string buffer(4, '\0');
    destination.text = buffer.data();
    record->convertText(record, &source, &destination, EML_CONVERT_FORM, 0);
    EXPECT_EQ(destination.length, 4u);
    EXPECT_EQ(buffer, std::string("\x1F\x04!\0", 4));

    record->convertText(record, &source, &destination, 31, 0);
    EXPECT_EQ(destination.length, 0u) << "no other form is known";
}

TEST(Services, ConvertsBetweenCharsets) {
    Services services;
    services.record()->currentCharset = EML_CHARSET_UTF_8;
    EXPECT_EQ(convertFrom(services, EML_CHARSET_WESTERN, "caf\xE9"), "café");
    EXPECT_EQ(convertFrom(services, EML_CHARSET_CYRILLIC, "\xCF"), "П") << "another pair than before";
    EXPECT_EQ(convertFrom(services, EML_CHARSET_UNKNOWN, "\x80"), "€");
    EXPECT_EQ(convertFrom(services, EML_CHARSET_WESTERN, ""), "");
    services.record()->currentCharset = EML_CHARSET_WESTERN;
    EXPECT_EQ(convertFrom(services, EML_CHARSET_UTF_8, "П\xFFé"), "??\xE9");
}

TEST(Services, NeverWritesMoreThanThereIsRoomFor) {
    Services services;
    EmlHostServices* record = services.record();
    record->currentCharset = EML_CHARSET_WESTERN;
    std::string text = "abcdef";
    EmlTextSpan source = spanOf(text);
    char buffer[] = "######";
    EmlTextSpan destination{buffer, 3};
    record->convertTextFrom(record, EML_CHARSET_UTF_8, &source, &destination, EML_CONVERT_SUBSTITUTE);
    EXPECT_STREQ(buffer, "abc###");
    EXPECT_EQ(destination.length, 3u);

    EmlTextSpan nothing{nullptr, 100};
    destination = {buffer, 6};
    record->convertTextFrom(record, EML_CHARSET_UTF_8, &nothing, &destination, EML_CONVERT_SUBSTITUTE);
    EXPECT_EQ(destination.length, 0u);
}

TEST(Services, OpensFilesAsInputsThatTheLibraryReleases) {
    TemporaryFolder folder;
    std::string path = folder.write("message.eml", "Subject: x\r\n");
    Services services;
    EmlHostServices* record = services.record();
    EmlIOobj* object = record->openFile(record, path.data());
    ASSERT_NE(object, nullptr);
    ASSERT_NE(object->open(object), 0);
    char buffer[8];
    EXPECT_EQ(object->read(object, buffer, 8), 8);
    EXPECT_EQ(std::string(buffer, 8), "Subject:");
    EXPECT_NE(object->close(object), 0);
    object->release(object);

    std::string missing = folder.pathOf("missing");
    std::string directory = folder.path();
    EXPECT_EQ(record->openFile(record, missing.data()), nullptr);
    EXPECT_EQ(record->openFile(record, directory.data()), nullptr);
    EXPECT_EQ(record->openFile(record, nullptr), nullptr);
}

TEST(Services, KnowsLeadBytes) {
    Services services;
    EmlHostServices* record = services.record();
    EXPECT_NE(record->isLeadByte(record, 0x81, EML_CHARSET_SHIFT_JIS), 0);
    EXPECT_EQ(record->isLeadByte(record, 0xA1, EML_CHARSET_SHIFT_JIS), 0);
    EXPECT_NE(record->isLeadByte(record, 0xA1, EML_CHARSET_BIG5), 0);
    record->resetCharset(record, 0);
}

TEST(Services, DatesComeBackAsTheyWereStored) {
    Services services;
    for (int64_t seconds : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{1741076122},
                            int64_t{std::numeric_limits<int32_t>::max()}, int64_t{INT32_MIN},
                            int64_t{1} << 33, -(int64_t{1} << 33)}) {
        auto time = static_cast<time_t>(seconds);
        if (time != seconds) continue;  // a 32-bit time_t
        uint32_t date[2] = {0xAAAAAAAA, 0xAAAAAAAA};
        services.record()->storeDate(time, date);
        EXPECT_EQ(emlhost::dateFrom(date), seconds);
    }
    uint32_t date[2];
    services.record()->storeDate(5, date);
    EXPECT_EQ(date[0], 5u) << "the low word comes first";
    EXPECT_EQ(date[1], 0u);
}

}  // namespace
