#include "tool/message/comparison.h"

#include <gtest/gtest.h>

#include <string_view>

#include "standalone/input.h"
#include "standalone/output.h"
#include "tool/text/needs_sha256.h"
#include "tool/text/sha256.h"

namespace emltool {
namespace {

class ComparisonOfReadings : public NeedsSha256 {};

// The base64 of a.zip breaks off into another content for the engines; part 3 has no name, part 4 the bytes of part 3.
constexpr std::string_view kMessage =
    "From: a@example.org\nContent-Type: multipart/mixed; boundary=b\n\n"
    "--b\n\nhello\n"
    "--b\nContent-Transfer-Encoding: base64\nContent-Disposition: attachment; filename=a.zip\n"
    "Content-Type: application/zip\n\nUEsDBA==\nUEsDBA==\n\n"
    "--b\nContent-Disposition: attachment\nContent-Type: application/zip\n\nsame\n"
    "--b\nContent-Disposition: attachment; filename=c.zip\nContent-Type: application/zip\n"
    "Content-Transfer-Encoding: base64\n\nc2FtZQ==\n\n"
    "--b--\n";

MessageFile opened(std::string_view message) {
    const std::span bytes(reinterpret_cast<const uint8_t*>(message.data()), message.size());
    return {std::make_unique<emlhost::MemoryInput>(bytes), "m.eml", false};
}

TEST_F(ComparisonOfReadings, TheUnionHasEachContentOnce) {
    MessageFile file = opened(kMessage);
    const Comparison comparison = compareReadings(file);
    EXPECT_FALSE(comparison.agrees());
    const std::vector<FoundContent> contents = unionOf(comparison);
    ASSERT_EQ(contents.size(), 3u);
    EXPECT_EQ(contents[0].name, "a.zip");
    EXPECT_EQ(contents[0].offeredBy, (OfReadings<bool>{true, false, false}));
    EXPECT_EQ(contents[1].name, "part-3.zip");
    EXPECT_EQ(contents[1].offeredBy, (OfReadings<bool>{true, true, true}));
    EXPECT_EQ(contents[2].name, "a.zip");
    EXPECT_EQ(contents[2].reading, Reading::kContainer);
    EXPECT_EQ(contents[2].offeredBy, (OfReadings<bool>{false, true, true}));
}

TEST_F(ComparisonOfReadings, ContentsOfTheUnionCanBeWritten) {
    MessageFile file = opened(kMessage);
    const std::vector<FoundContent> contents = unionOf(compareReadings(file));
    std::vector<std::string> written;
    extractUnion(file, contents, [&](const FoundContent& content, const WriteContent& write) {
        emlhost::MemoryOutput output;
        write(output);
        EXPECT_FALSE(output.error());
        EXPECT_EQ(output.size(), content.size);
        const std::string_view bytes(reinterpret_cast<const char*>(output.bytes().data()),
                                     output.bytes().size());
        EXPECT_EQ(hexText(Sha256::of(bytes)), content.sha256);
        written.emplace_back(bytes);
    });
    ASSERT_EQ(written.size(), contents.size());
    EXPECT_EQ(written[0], "PK\x03\x04PK\x03\x04");
    EXPECT_EQ(written[1], "same");
}

// A content that only the filter offers is taken from the filter.
TEST_F(ComparisonOfReadings, EachReadingCanBeTheSource) {
    MessageFile file = opened(kMessage);
    std::vector<FoundContent> contents = unionOf(compareReadings(file));
    contents[2].reading = Reading::kFilter;
    std::string digest;
    extractUnion(file, {contents[2]}, [&](const FoundContent&, const WriteContent& write) {
        emlhost::MemoryOutput output;
        write(output);
        digest = hexText(
            Sha256::of({reinterpret_cast<const char*>(output.bytes().data()), output.bytes().size()}));
    });
    EXPECT_EQ(digest, contents[2].sha256);
}

TEST_F(ComparisonOfReadings, AMessageWithoutFilesHasAnEmptyUnion) {
    MessageFile file = opened("From: a@example.org\n\nhello\n");
    const Comparison comparison = compareReadings(file);
    EXPECT_TRUE(comparison.agrees());
    EXPECT_TRUE(unionOf(comparison).empty());
}

}  // namespace
}  // namespace emltool
