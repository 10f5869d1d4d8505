// Every byte of the file belongs to exactly one span.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

struct SpanRow {
    const char* rule;
    std::string message;
    const char* spans;
};

TEST(Spans, MakeUpTheFile) {
    const SpanRow rows[] = {
        {"no byte", "", ""},
        {"header, empty line, body", "a: b\r\n\r\nxyz", "h6 n2 b3"},
        {"a header alone", "a: b\r\n", "h6"},
        {"a header and the empty line", "a: b\r\n\r\n", "h6 n2"},
        {"no header", "\r\nxyz", "n2 b3"},
        {"no empty line", "xyz\nabc\n", "b8"},
        {"padding", "\nFrom x\na: b\n\nxyz", "p8 h5 n1 b3"},
        {"a byte order mark",
         "\xEF\xBB\xBF"
         "a: b\n\nx",
         "p3 h5 n1 b1"},
        {"the line end before a delimiter is the delimiter's",
         "Content-Type: multipart/mixed; boundary=b\n\npre\n--b\na: b\n\none\n--b\n\ntwo\n--b--\nepi",
         "h42 n1 r3 d5 h5 n1 b3 d5 n1 b3 c7 e3"},
        {"a delimiter right after the empty line takes no line end",
         "Content-Type: multipart/mixed; boundary=b\n\n--b\n\n--b--", "h42 n1 d4 n1 c5"},
        {"an embedded message", "Content-Type: message/rfc822\n\n\na: b\n\nx", "h29 n1 p1 h5 n1 b1"},
        {"a multipart without parts is body", "Content-Type: multipart/mixed; boundary=b\n\ntext",
         "h42 n1 b4"},
        {"a file inside text", "a: b\n\nx\nbegin 644 n\n`\nend\ny", "h5 n1 b2 b18 b1"},
    };
    for (const SpanRow& row : rows) {
        SCOPED_TRACE(row.rule);
        OpenedMime opened(row.message);
        ASSERT_NE(opened.context(), nullptr);
        EXPECT_EQ(opened.spans(), row.spans);
        EXPECT_EQ(opened.spanProblems(row.message), "");
    }
}

// A cut anywhere leaves a message whose spans make up what is there.
TEST(Spans, MakeUpTheFileWhereverItIsCut) {
    const std::string message =
        "\xEF\xBB\xBF\r\nFrom x\r\nContent-Type: multipart/mixed; "
        "boundary=b\r\n\r\npre\r\n--b\r\nContent-Type: "
        "message/rfc822\r\n\r\nContent-Type: multipart/related;\r\n "
        "boundary=bb\r\n\r\n--bb\r\n\r\none\r\nbegin 644 "
        "n\r\n#0V%T\r\n`\r\nend\r\n--bb--\r\n\r\n--b\r\nno header\r\nhere\r\n--b--\r\nepilogue\r\n";
    for (size_t length = 0; length <= message.size(); ++length) {
        const std::string cut = message.substr(0, length);
        OpenedMime opened(cut);
        ASSERT_NE(opened.context(), nullptr);
        EXPECT_EQ(opened.spanProblems(cut), "") << "cut after " << length;
    }
}

// The same with each byte replaced by ones that matter to the structure.
TEST(Spans, MakeUpTheFileWhateverAByteIs) {
    const std::string message =
        "A: b\nContent-Type: multipart/mixed; boundary=b\n\npre\n--b\nC: d\n\none\n--b\n\ntwo\n--b--\nepi\n";
    for (size_t place = 0; place < message.size(); ++place) {
        for (const char byte : {'\n', '\r', ':', ' ', '-', 'b', '\0', '\xFF'}) {
            std::string changed = message;
            changed[place] = byte;
            OpenedMime opened(changed);
            ASSERT_NE(opened.context(), nullptr);
            EXPECT_EQ(opened.spanProblems(changed), "") << "byte " << place << " is " << visible({&byte, 1});
        }
    }
}

}  // namespace
}  // namespace eml::test
