// Messages that were cut off on the way.
#include "tool/message/end.h"

#include <gtest/gtest.h>

#include <span>

namespace emltool {
namespace {

TEST(MessageEnd, BoundaryOfTheMessageItself) {
    const struct {
        const char* rule;
        const char* header;
        const char* boundary;
    } rows[] = {
        {"a token", "Content-Type: multipart/mixed; boundary=abc\r\n\r\n", "abc"},
        {"a quoted string", "Content-Type: multipart/mixed; boundary=\"a;b c\"\n\n", "a;b c"},
        {"a quoted pair", "Content-Type: multipart/mixed; boundary=\"a\\\"b\"\n\n", "a\"b"},
        {"letters of any case", "CONTENT-TYPE: Multipart/Mixed; BOUNDARY=Abc\n\n", "Abc"},
        {"folded", "From: a\nContent-Type: multipart/mixed;\n\tboundary=abc\nTo: b\n\n", "abc"},
        {"after other parameters", "Content-Type: multipart/mixed; type=\"x;boundary=y\"; boundary=abc\n\n",
         "abc"},
        {"blanks after it", "Content-Type: multipart/mixed; boundary=abc  ; x=y\n\n", "abc"},
        {"not of another field", "X-Content-Type: multipart/mixed; boundary=abc\n\n", ""},
        {"the first field counts",
         "Content-Type: text/plain\nContent-Type: multipart/mixed; boundary=abc\n\n", ""},
        {"not of the body", "From: a\n\nContent-Type: multipart/mixed; boundary=abc\n\n", ""},
        {"not of the body, CR LF", "From: a\r\n\r\nContent-Type: multipart/mixed; boundary=abc\r\n\r\n", ""},
        {"only of multipart", "Content-Type: text/plain; boundary=abc\n\n", ""},
        {"none", "Content-Type: multipart/mixed\n\n", ""},
        {"empty", "Content-Type: multipart/mixed; boundary=\n\n", ""},
        {"the header may end with the file", "Content-Type: multipart/mixed; boundary=abc", "abc"},
        {"an open quote", "Content-Type: multipart/mixed; boundary=\"abc", "abc"},
        {"no message", "", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(boundaryOf(row.header), row.boundary) << row.rule;
}

bool lacksIn(const std::string& message) {
    emlhost::MemoryInput input(
        std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(message.data()), message.size()));
    return lacksClosingDelimiter(input);
}

TEST(MessageEnd, TheClosingDelimiterIsLookedForInTheLast64KiB) {
    const std::string header = "Content-Type: multipart/mixed; boundary=abc\n\n--abc\n\npart\n";
    const std::string filler(size_t{200} << 10, 'x');
    EXPECT_TRUE(lacksIn(header));
    EXPECT_TRUE(lacksIn(header + "--abc\n\nother\n--abc"));
    EXPECT_TRUE(lacksIn(header + filler));
    EXPECT_TRUE(lacksIn(header + "--abcd--\n"));
    EXPECT_TRUE(lacksIn(header + "--abc--\n" + filler));
    EXPECT_FALSE(lacksIn(header + "--abc--"));
    EXPECT_FALSE(lacksIn(header + filler + "\n--abc--\nepilogue\n"));
    EXPECT_FALSE(lacksIn("Content-Type: text/plain\n\nbody\n"));
    EXPECT_FALSE(lacksIn("Content-Type: multipart/mixed; boundary=abc\n\nno part, no delimiter --abc\n"));
    EXPECT_FALSE(lacksIn(""));
}

}  // namespace
}  // namespace emltool
