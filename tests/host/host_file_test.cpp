#include "host/host_file.h"

#include <gtest/gtest.h>

#include "support/recording_host.h"

namespace eml::test {
namespace {

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
