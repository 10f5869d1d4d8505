#include "tool/message/digest_output.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

#include "tool/text/needs_sha256.h"

namespace emltool {
namespace {

class DigestOutputTest : public NeedsSha256 {};

std::string digestsOf(std::string_view bytes, bool lines) {
    DigestOutput output;
    output.take({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    return lines ? output.digestOfLines() : output.digest();
}

std::string digestOf(std::string_view bytes) { return digestsOf(bytes, false); }
std::string digestOfLines(std::string_view bytes) { return digestsOf(bytes, true); }

TEST_F(DigestOutputTest, IsTheShaOfAllBytes) {
    EXPECT_EQ(digestOf(""), hexText(Sha256::of("")));
    EXPECT_EQ(digestOf("a\r\nb\n"), hexText(Sha256::of("a\r\nb\n")));
}

struct Row {
    const char* rule;
    std::string_view bytes;
    std::string_view lines;
};

TEST_F(DigestOutputTest, LinesWithoutCrAndEndsAtTheEnd) {
    const std::string many(200, '\n');
    const std::string between = "a" + many + "b";
    const auto rows = std::to_array<Row>({
        {"no line end", "abc", "abc"},
        {"CR LF is LF", "a\r\nb", "a\nb"},
        {"CR is dropped", "a\rb\r", "ab"},
        {"line ends at the end are dropped", "a\n\r\n\n", "a"},
        {"many inside are kept", between, between},
        {"only line ends", many, ""},
        {"nothing", "", ""},
        {"line ends at the beginning are kept", "\n\na", "\n\na"},
    });
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(digestOfLines(row.bytes), hexText(Sha256::of(row.lines)));
        DigestOutput cut;
        for (const char& c : row.bytes) cut.take({reinterpret_cast<const uint8_t*>(&c), 1});
        EXPECT_EQ(cut.digestOfLines(), hexText(Sha256::of(row.lines)));
    }
}

}  // namespace
}  // namespace emltool
