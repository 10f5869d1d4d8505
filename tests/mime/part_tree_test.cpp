// The tree of parts: headers, delimiters, and what ends what.
#include <gtest/gtest.h>

#include "mime/opened_mime.h"

namespace eml::test {
namespace {

struct TreeRow {
    const char* rule;
    std::string message;
    std::string tree;
    std::string defects;
};

void checkRows(const std::vector<TreeRow>& rows) {
    for (const TreeRow& row : rows) {
        SCOPED_TRACE(row.rule);
        OpenedMime opened(row.message);
        ASSERT_NE(opened.context(), nullptr);
        EXPECT_EQ(opened.tree(row.message), row.tree);
        EXPECT_EQ(opened.defects(), row.defects);
        EXPECT_EQ(opened.spanProblems(row.message), "");
    }
}

// A multipart/mixed with boundary "b" and this body.
std::string mixed(const std::string& body) { return "Content-Type: multipart/mixed; boundary=b\n\n" + body; }

TEST(PartTree, HeaderAndBody) {
    checkRows({
        {"a message", "Subject: x\n\nbody\n", "text/plain\"body\\n\"", ""},
        {"lines end in CR LF", "Subject: x\r\n\r\nbody\r\n", "text/plain\"body\\r\\n\"", ""},
        {"lines end in CR", "Subject: x\r\rbody\r", "text/plain\"body\\r\"", "bare-cr@0"},
        {"no byte", "", "text/plain\"\"", ""},
        {"a header alone", "Subject: x\n", "text/plain\"\"", ""},
        {"a header that the file cuts off", "Subject: x", "text/plain\"\"", ""},
        {"a header and the empty line", "Subject: x\n\n", "text/plain\"\"", ""},
        {"no header: text", "Hello\nworld\n", "text/plain\"Hello\\nworld\\n\"",
         "no-blank-line@0 no-header@0"},
        {"no header: one line", "Hello", "text/plain\"Hello\"", "no-blank-line@0 no-header@0"},
        {"an empty line, then text", "\nHello\n", "text/plain\"Hello\\n\"", "no-header@0"},
        {"empty lines before the header", "\n\nSubject: x\n\nbody", "text/plain\"body\"", ""},
        {"a byte order mark before the header", "\xEF\xBB\xBFSubject: x\n\nbody", "text/plain\"body\"", ""},
        {"an mbox line before the header", "From a@b Mon Jan  1\nSubject: x\n\nbody", "text/plain\"body\"",
         ""},
        {"a field with blanks before its colon is no mbox line", "From  : a@b\nContent-Type: text/html\n\nx",
         "text/html\"x\"", ""},
        {"a field whose blanks come first", " Content-Type: text/html\nSubject: x\n\nbody",
         "text/html\"body\"", "field-without-colon@0"},
        {"empty lines alone", "\n\n\n", "text/plain\"\\n\\n\"", "no-header@0"},
        {"no empty line before the body", "Subject: x\nHello,\nhow are you?\n",
         "text/plain\"Hello,\\nhow are you?\\n\"", "no-blank-line@0"},
        {"one line of text, then an empty one", "Subject: x\nHello\n\nmore", "text/plain\"Hello\\n\\nmore\"",
         "no-blank-line@0"},
        {"a line that is no field between fields", "Subject: x\njunk\nContent-Type: text/html\n\nbody",
         "text/html\"body\"", "field-without-colon@0"},
        {"a continuation that lost its blank",
         "Received: from a\nby b;\n\tMon\nContent-Type: text/html\n\nbody", "text/html\"body\"",
         "field-without-colon@0"},
        {"an address of a page is no field", "Subject: x\nhttp://a.example/\nb\n",
         "text/plain\"http://a.example/\\nb\\n\"", "no-blank-line@0"},
        {"a line of blanks goes on with the header", "Subject: x\n \nContent-Type: text/html\n\nbody",
         "text/html\"body\"", ""},
    });
}

TEST(PartTree, Delimiters) {
    checkRows({
        {"parts", mixed("--b\n\none\n--b\n\ntwo\n--b--\n"),
         "multipart/mixed{text/plain\"one\"; text/plain\"two\"}", ""},
        {"CR LF: the line end before a delimiter is the delimiter's",
         "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\none\r\n\r\n--b--\r\n",
         "multipart/mixed{text/plain\"one\\r\\n\"}", ""},
        {"preamble and epilogue", mixed("before\n--b\n\none\n--b--\nafter\n"),
         "multipart/mixed{text/plain\"one\"}", ""},
        {"blanks after a delimiter", mixed("--b \t\n\none\n--b-- \n"), "multipart/mixed{text/plain\"one\"}",
         ""},
        {"text after a delimiter", mixed("--b here\n\none\n--b--\n"), "multipart/mixed{text/plain\"one\"}",
         "delimiter-text@0"},
        {"a longer boundary is another one", mixed("--b\n\none\n--bc\n\ntwo\n--b--\n"),
         "multipart/mixed{text/plain\"one\\n--bc\\n\\ntwo\"}", ""},
        {"dashes that go on are no closing delimiter", mixed("--b\n\none\n--b---\n--b--\n"),
         "multipart/mixed{text/plain\"one\\n--b---\"}", ""},
        {"a delimiter in the middle of a line is none", mixed("--b\n\none --b\n--b--\n"),
         "multipart/mixed{text/plain\"one --b\"}", ""},
        {"no closing delimiter", mixed("--b\n\none\n"), "multipart/mixed{text/plain\"one\\n\"}",
         "no-closing-delimiter@0"},
        {"a closing delimiter twice", mixed("--b\n\none\n--b--\n--b--\n"),
         "multipart/mixed{text/plain\"one\"}", ""},
        {"a part after the closing delimiter", mixed("--b\n\none\n--b--\n--b\n\ntwo\n--b--\n"),
         "multipart/mixed{text/plain\"one\"; text/plain\"two\"}", "part-after-closing@0"},
        {"no parts: one body", mixed("text\n"), "multipart/mixed\"text\\n\"", "no-parts@0"},
        {"closed at once", mixed("--b--\n"), "multipart/mixed{}", ""},
        {"a delimiter after CR alone", mixed("--b\r\rone\r--b--\r"), "multipart/mixed{text/plain\"one\"}",
         "bare-cr@1"},
        {"an empty part", mixed("--b\n--b\n\n--b--\n"), "multipart/mixed{text/plain\"\"; text/plain\"\"}",
         "delimiter-in-header@1"},
        {"a delimiter before the header ends", mixed("--b\nContent-Type: text/html\n--b\n\ntwo\n--b--\n"),
         "multipart/mixed{text/html\"\"; text/plain\"two\"}", "delimiter-in-header@1"},
        {"the rest of a folded field before the empty line", mixed("--b\n name=x\n\none\n--b--\n"),
         "multipart/mixed{text/plain\"one\"}", "field-without-colon@1"},
        {"no empty line after a delimiter", mixed("--b\none\nmore\n--b--\n"),
         "multipart/mixed{text/plain\"one\\nmore\"}", "no-blank-line@1"},
        {"one line of text right after a delimiter", mixed("--b\none\n--b--\n"),
         "multipart/mixed{text/plain\"one\"}", "no-blank-line@1"},
        {"the first delimiter right after the header",
         "Content-Type: multipart/mixed; boundary=b\n--b\n\none\n--b--\n",
         "multipart/mixed{text/plain\"one\"}", "no-blank-line@0"},
    });
}

TEST(PartTree, Boundaries) {
    const auto with = [](const std::string& parameter) {
        return "Content-Type: multipart/mixed" + parameter + "\n\n--b\n\none\n--b--\n";
    };
    const std::string one = "multipart/mixed{text/plain\"one\"}";
    checkRows({
        {"quoted", with("; boundary=\"b\""), one, ""},
        {"with a backslash", with("; boundary=\"\\b\""), one, ""},
        {"blanks at its end do not count", with("; boundary=\"b \""), one, ""},
        {"the name in upper case", with("; BOUNDARY=b"), one, ""},
        {"folded", with(";\n\tboundary=b"), one, ""},
        {"in the form of RFC 2231", with("; boundary*=us-ascii''b"), one, ""},
        {"none: the first line like a delimiter gives it", with(""), one, "no-boundary@0 boundary-guessed@0"},
        {"empty, and a line that tells: likewise", with("; boundary=\"\""), one,
         "no-boundary@0 boundary-guessed@0"},
        {"empty: two dashes alone",
         "Content-Type: multipart/mixed; boundary=\"\"\n\n--\n\none\n-- \nx\n----\n",
         "multipart/mixed{text/plain\"one\\n-- \\nx\"}", "no-boundary@0"},
        {"blanks at its end count when the first delimiter has them",
         "Content-Type: multipart/mixed; boundary=\"b  \"\n\n--b  \n\none\n--b \nx\n--b  --\n",
         "multipart/mixed{text/plain\"one\\n--b \\nx\"}", ""},
        {"blanks before the last two dashes",
         "Content-Type: multipart/mixed; boundary=\"b \"\n\n--b\n\none\n--b --\n", one, ""},
        {"like an encoded word: taken as it stands",
         "Content-Type: multipart/mixed; boundary=\"=?x?q?b?=\"\n\n--=?x?q?b?=\n\none\n--=?x?q?b?=--\n", one,
         ""},
    });
}

TEST(PartTree, NestedParts) {
    const std::string inner = "--b\nContent-Type: multipart/alternative; boundary=i\n\n--i\n\none\n";
    checkRows({
        {"nested", mixed(inner + "--i--\n--b--\n"),
         "multipart/mixed{multipart/alternative{text/plain\"one\"}}", ""},
        {"a delimiter further out ends the inner one", mixed(inner + "--b\n\ntwo\n--b--\n"),
         "multipart/mixed{multipart/alternative{text/plain\"one\"}; text/plain\"two\"}",
         "no-closing-delimiter@1 outer-delimiter@1"},
        {"the file ends inside", mixed(inner), "multipart/mixed{multipart/alternative{text/plain\"one\\n\"}}",
         "no-closing-delimiter@1 no-closing-delimiter@0"},
        {"the boundary is a prefix of the inner one",
         mixed("--b\nContent-Type: multipart/related; boundary=bb\n\n--bb\n\none\n--bb--\n--b--\n"),
         "multipart/mixed{multipart/related{text/plain\"one\"}}", ""},
        {"the same boundary inside: the innermost counts",
         mixed("--b\nContent-Type: multipart/related; boundary=b\n\n--b\n\none\n--b--\n--b--\n"),
         "multipart/mixed{multipart/related{text/plain\"one\"}}", "no-closing-delimiter@0"},
    });
}

TEST(PartTree, Messages) {
    const std::string rfc822 = "--b\nContent-Type: message/rfc822\n";
    checkRows({
        {"a message in a multipart", mixed(rfc822 + "\nSubject: in\n\nhello\n--b--\n"),
         "multipart/mixed{message/rfc822(text/plain\"hello\")}", ""},
        {"a message as the body", "Content-Type: message/rfc822\n\nSubject: in\n\nhello",
         "message/rfc822(text/plain\"hello\")", ""},
        {"empty lines before its header", mixed(rfc822 + "\n\n\nSubject: in\n\nhello\n--b--\n"),
         "multipart/mixed{message/rfc822(text/plain\"hello\")}", ""},
        {"a multipart in it",
         mixed(rfc822 + "\nContent-Type: multipart/mixed; boundary=i\n\n--i\n\none\n--i--\n--b--\n"),
         "multipart/mixed{message/rfc822(multipart/mixed{text/plain\"one\"})}", ""},
        {"in base64: not opened",
         mixed(rfc822 + "Content-Transfer-Encoding: base64\n\nU3ViamVjdDogeAo=\n--b--\n"),
         "multipart/mixed{message/rfc822\"U3ViamVjdDogeAo=\"}", "encoded-multipart@1"},
        {"in quoted-printable: not opened",
         mixed(rfc822 + "Content-Transfer-Encoding: quoted-printable\n\nSubject: in\n\na=3Db\n--b--\n"),
         "multipart/mixed{message/rfc822\"Subject: in\\n\\na=3Db\"}", "encoded-multipart@1"},
        {"said to be base64, but it is not",
         mixed(rfc822 + "Content-Transfer-Encoding: base64\n\nSubject: in\n\nhello\n--b--\n"),
         "multipart/mixed{message/rfc822(text/plain\"hello\")}", "encoded-multipart@1"},
        {"parts of a digest are messages",
         "Content-Type: multipart/digest; boundary=b\n\n--b\n\nSubject: in\n\nhello\n--b--\n",
         "multipart/digest{message/rfc822(text/plain\"hello\")}", ""},
    });
}

TEST(PartTree, FilesInsideText) {
    const std::string file = "begin 644 a.txt\n#0V%T\n`\nend\n";
    checkRows({
        {"uuencode", "X: y\n\nbefore\n" + file + "after\n",
         "text/plain\"before\\nbegin 644 "
         "a.txt\\n#0V%T\\n`\\nend\\nafter\\n\"[application/octet-stream=a.txt\"begin 644 "
         "a.txt\\n#0V%T\\n`\\nend\\n\"]",
         ""},
        {"prose that begins so", "X: y\n\nbegin 644 people\nwho are not data, since this line is longer\n",
         "text/plain\"begin 644 people\\nwho are not data, since this line is longer\\n\"", ""},
        {"nothing inside", "X: y\n\nbegin 644 a.txt\nend\nafter\n",
         "text/plain\"begin 644 a.txt\\nend\\nafter\\n\"[application/octet-stream=a.txt\"begin 644 "
         "a.txt\\nend\\n\"]",
         ""},
        {"cut off by the file", "X: y\n\nbegin 644 a.txt\n#0V%T\n",
         "text/plain\"begin 644 a.txt\\n#0V%T\\n\"[application/octet-stream=a.txt\"begin 644 "
         "a.txt\\n#0V%T\\n\"]",
         "inline-file-cut-off@1"},
    });
}

// A file that is one part too many stays text, and so do those after it.
TEST(PartTree, FilesInsideTextCountAsParts) {
    const std::string file = "begin 644 a.txt\n#0V%T\n`\nend\n";
    EmlMimeOptions options{};
    options.maxParts = 2;
    OpenedMime opened("X: y\n\n" + file + "between\n" + file + file, options);
    EXPECT_EQ(emlMimePartCount(opened.context()), 2U);
    EXPECT_EQ(opened.defects(), "too-many-parts@0");
    EXPECT_EQ(opened.content(1), "Cat");
    EXPECT_EQ(opened.content(0, EML_MIME_TEXT), "between\n" + file + file);
}

// The same answers however the bytes come, and whatever the lines' place in the block.
TEST(PartTree, ShortReadsChangeNothing) {
    const std::string message =
        mixed("--b\r\nContent-Type: text/html\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\nend");
    OpenedMime whole(message);
    for (const ReadStyle style : {ReadStyle::kOneByte, ReadStyle::kHalf}) {
        HostOptions host = mimeHost();
        host.readStyle = style;
        OpenedMime opened(message, {}, host);
        EXPECT_EQ(opened.tree(message), whole.tree(message));
        EXPECT_EQ(opened.spans(), whole.spans());
        EXPECT_EQ(opened.defects(), whole.defects());
    }
}

TEST(PartTree, LinesAcrossBlocks) {
    const std::string tail = "\r\n--b\r\n\r\ntwo\r\n--b--\r\n";
    for (size_t length = (64 << 10) - 80; length < (64 << 10) + 20; ++length) {
        for (const char* lineEnd : {"\r\n", "\n", "\r"}) {
            std::string message = "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\n";
            const size_t start = message.size();
            message += std::string(length, 'x') + lineEnd + "y" + tail;
            OpenedMime opened(message);
            ASSERT_EQ(emlMimePartCount(opened.context()), 3U) << length << visible(lineEnd);
            const EmlMimePart part = opened.part(1);
            EXPECT_EQ(part.body.offset, start);
            EXPECT_EQ(part.body.length, length + std::strlen(lineEnd) + 1);
            EXPECT_EQ(opened.spanProblems(message), "");
        }
    }
}

TEST(PartTree, DepthAndNumberHaveLimits) {
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        const std::string boundary = "b" + std::to_string(i);
        deep += "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n--" + boundary + "\n";
    }
    OpenedMime opened(deep);
    EXPECT_EQ(emlMimePartCount(opened.context()), 101U);
    EXPECT_NE(opened.defects().find("too-deep@100"), std::string::npos);
    EXPECT_EQ(opened.spanProblems(deep), "");

    EmlMimeOptions options{};
    options.maxParts = 3;
    const std::string many = mixed("--b\n\n1\n--b\n\n2\n--b\n\n3\n--b\n\n4\n--b--\n");
    OpenedMime few(many, options);
    EXPECT_EQ(few.tree(many),
              "multipart/mixed{text/plain\"1\"; text/plain\"2\\n--b\\n\\n3\\n--b\\n\\n4\\n--b--\\n\"}");
    EXPECT_EQ(few.defects(), "too-many-parts@2 no-closing-delimiter@0");
}

}  // namespace
}  // namespace eml::test
