#include "tool/message/part_tree.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* message;
    std::vector<std::string> sections;
};

TEST(PartTree, SectionsAreNumberedAsMailServersDo) {
    const std::array rows = std::to_array<Row>({
        {"a body", "From: a\n\nx\n", {"1"}},
        {"a multipart",
         "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nx\n--b\n\ny\n--b--\n",
         {"", "1", "2"}},
        {"a message as the whole message", "Content-Type: message/rfc822\n\nFrom: a\n\nx\n", {"1", "1.1"}},
        {"a multipart in a message in a multipart",
         "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n\n"
         "Content-Type: multipart/mixed; boundary=c\n\n--c\n\nx\n--c--\n--b--\n",
         {"", "1", "", "1.1"}},
    });
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(sectionNumbers(emlreader::mime::Message::fromBytes(row.message)), row.sections);
    }
}

TEST(PartTree, SizesAreThoseOfTheContent) {
    const auto message = emlreader::mime::Message::fromBytes(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Transfer-Encoding: "
        "base64\n\nAAAA\n--b--\n");
    const std::vector<PartEntry> parts = readParts(message);
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_EQ(parts[1].size, 3u);
    EXPECT_EQ(parts[0].size, parts[0].part.info().body.length);
}

}  // namespace
}  // namespace emltool
