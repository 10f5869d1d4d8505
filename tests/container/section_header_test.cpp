// The header of a part, and what makes a part an attachment.
#include <gtest/gtest.h>

#include "support/sections.h"

namespace eml::test {
namespace {

constexpr const char* kNone = nullptr;

struct PartCase {
    const char* rule;
    const char* header;  // "\n" stands for CR LF
    uint32_t contentClass;
    uint32_t encoding;
    uint32_t charset;
    const char* boundary;
    const char* fileName;
    bool isAttachment;
    uint32_t flags;
};

const PartCase kPartCases[] = {
    {"no header", "", 0, 0, 0, kNone, kNone, false, 0},
    {"a name on the Content-Type line makes an attachment", "Content-Type: image/png; name=\"a b.png\"\n", 10,
     0, 0, kNone, "a b.png", true, 0},
    {"filename on the Content-Type line", "Content-Type: image/png; filename=a.png\n", 10, 0, 0, kNone,
     "a.png", true, 0},
    {"inline with a name is an attachment", "Content-Disposition: inline; filename=\"logo.png\"\n", 0, 0, 0,
     kNone, "logo.png", true, 0},
    {"attachment, name", "content-disposition:\t ATTACHMENT;name=a\n", 0, 0, 0, kNone, "a", true, 0},
    {"another disposition is ignored", "Content-Disposition: form-data; filename=a\n", 0, 0, 0, kNone, kNone,
     false, 0},
    {"but not its continuation lines", "Content-Disposition: form-data;\n filename=a\n", 0, 0, 0, kNone, "a",
     true, 0},
    {"attachment without a name is none", "Content-Disposition: attachment\n", 0, 0, 0, kNone, kNone, false,
     0},
    {"an empty name is none", "Content-Disposition: attachment; filename=\"\"\n", 0, 0, 0, kNone, kNone,
     false, 0},
    {"only the first parameter of a line: charset", "Content-Type: text/plain; charset=utf-8; name=a.txt\n",
     0, 0, 53, kNone, kNone, false, 0},
    {"only the first parameter of a line: name", "Content-Type: text/plain; name=a.txt; charset=utf-8\n", 0,
     0, 0, kNone, "a.txt; charset=utf-8", true, 0},
    {"folded parameters all count", "Content-Type: text/plain;\n charset=utf-8;\n\tname=\"a.txt\"\n", 0, 0,
     53, kNone, "a.txt", true, 0},
    {"one parameter on each continuation line", "Content-Type: text/plain;\n charset=utf-8; name=a.txt\n", 0,
     0, 53, kNone, kNone, false, 0},
    {"the first charset is kept", "Content-Type: text/plain; charset=utf-8\n charset=koi8-r\n", 0, 0, 53,
     kNone, kNone, false, 0},
    {"an unknown charset counts as none", "Content-Type: text/plain; charset=odd\n charset=koi8-r\n", 0, 0, 6,
     kNone, kNone, false, 0},
    {"the first name is kept",
     "Content-Type: image/png; name=a\nContent-Disposition: attachment; filename=b\n", 10, 0, 0, kNone, "a",
     true, 0},
    {"an empty name leaves room for the next", "Content-Type: image/png; name=\"\"\n filename=b\n", 10, 0, 0,
     kNone, "b", true, 0},
    {"the last class wins", "Content-Type: text/plain\nContent-Type: text/html\n", 1, 0, 0, kNone, kNone,
     false, 0},
    {"the last encoding wins",
     "Content-Transfer-Encoding: 8bit\nContent-Transfer-Encoding: quoted-printable\n", 0, 5, 0, kNone, kNone,
     false, 0},
    {"multipart with its boundary", "Content-Type: multipart/mixed; boundary=\"n\"\n", 9, 0, 0, "--n", kNone,
     false, 0},
    {"a multipart takes neither charset nor name on its line", "Content-Type: multipart/mixed; name=a\n", 9,
     0, 0, kNone, kNone, false, 0},
    {"KEPT: a boundary on a continuation line, whatever the class",
     "Content-Type: text/plain;\n boundary=n\n", 0, 0, 0, "--n", kNone, false, 0},
    {"the first boundary is kept", "Content-Type: multipart/mixed; boundary=n\n boundary=m\n", 9, 0, 0, "--n",
     kNone, false, 0},
    {"a named multipart is an attachment", "Content-Type: multipart/mixed;\n boundary=n;\n name=a\n", 9, 0, 0,
     "--n", "a", true, 0},
    {"digest is text", "Content-Type: multipart/digest; boundary=x\n", 0, 0, 0, kNone, kNone, false, 0},
    {"a detached signature is none, for all its name",
     "Content-Type: application/x-pkcs7-signature; name=smime.p7s\n", 4, 0, 0, kNone, "smime.p7s", false, 0},
    {"S/MIME content in a part is", "Content-Type: application/pkcs7-mime; name=smime.p7m\n", 3, 0, 0, kNone,
     "smime.p7m", true, 0},
    {"no parameter of a message line is examined",
     "Content-Type: message/rfc822; name=a.eml\nContent-Disposition: inline\n", 5, 0, 0, kNone, "zt0.eml",
     true, 8},
    {"a message takes its name from a continuation line", "Content-Type: message/rfc822;\n name=a.eml\n", 5,
     0, 0, kNone, "a.eml", true, 8},
    {"a message takes its name from the disposition",
     "Content-Type: message/rfc822\nContent-Disposition: attachment; filename=a.eml\n", 5, 0, 0, kNone,
     "a.eml", true, 8},
    {"message/partial is a message too", "Content-Type: message/partial\n", 5, 0, 0, kNone, "zt0.eml", true,
     8},
    {"once a message, always a message", "Content-Type: message/rfc822\nContent-Type: text/plain\n", 0, 0, 0,
     kNone, "zt0.eml", true, 8},
    {"a field that does not begin with C", "X-Content-Type: text/html\n", 0, 0, 0, kNone, kNone, false, 0},
    {"encoded words in a name stay", "Content-Type: image/png; name=\"=?utf-8?Q?a=2Epng?=\"\n", 10, 0, 0,
     kNone, "=?utf-8?Q?a=2Epng?=", true, 0},
    {"a first line may be a continuation", " name=a\n", 0, 0, 0, kNone, "a", true, 0},
    {"extended parameters are not understood", "Content-Disposition: attachment; filename*=utf-8''a\n", 0, 0,
     0, kNone, kNone, false, 0},
};

void expectPart(const EmlSection& section, const PartCase& row) {
    EXPECT_EQ(section.contentClass, row.contentClass);
    EXPECT_EQ(static_cast<uint32_t>(section.encoding), row.encoding);
    EXPECT_EQ(section.charset, row.charset);
    EXPECT_EQ(textOf(section.boundary), textOf(row.boundary));
    EXPECT_EQ(textOf(section.fileName), textOf(row.fileName));
    EXPECT_EQ(section.isAttachment, row.isAttachment ? 1U : 0U);
    EXPECT_EQ(section.flags, row.flags);
}

// The part stands second, so that no body is chosen among what it holds.
TEST(PartHeader, EveryRule) {
    for (const PartCase& row : kPartCases) {
        SCOPED_TRACE(row.rule);
        const std::string message =
            multipart("mixed", "--b\n\nfirst\n--b\n" + std::string(row.header) + "\nBody\n--b--\n");
        RecordingHost host(message);
        OpenedMessage opened(host);
        const auto sections = sectionsOf(opened);
        ASSERT_EQ(sections.size(), 2U);
        expectPart(*sections[1], row);
        EXPECT_EQ(bodyOf(message, sections[1]), "Body");
    }
}

TEST(PartHeader, WithoutEmptyLineThereIsNoBodyAndNoAttachment) {
    const std::string message =
        multipart("mixed", "--b\nContent-Type: image/png; name=a.png\n--b\n\ntext\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    const EmlSection& section = *sectionsOf(opened).at(0);
    EXPECT_EQ(textOf(section.fileName), "a.png");
    EXPECT_EQ(section.isAttachment, 0U);
    EXPECT_EQ(section.bodyStart, 0);
    EXPECT_EQ(section.bodyEnd, 0);
    EXPECT_EQ(opened.subFileCount(), 1U);
}

// The range is tested before the empty line: the line end of the delimiter does not end a header.
TEST(PartHeader, EmptyLineAtTheEndOfThePartIsBehindIt) {
    const std::string message =
        multipart("mixed", "--b\nContent-Type: image/png; name=a.png\n\n--b\n\ntext\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(sectionsOf(opened).at(0)->isAttachment, 0U);
    const std::string longer =
        multipart("mixed", "--b\nContent-Type: image/png; name=a.png\n\n\n--b\n\ntext\n--b--\n");
    RecordingHost longerHost(longer);
    OpenedMessage longerOpened(longerHost);
    EXPECT_EQ(sectionsOf(longerOpened).at(0)->isAttachment, 1U);
    EXPECT_EQ(bodyOf(longer, sectionsOf(longerOpened).at(0)), "");
}

// In a part every piece of a long line is a line of its own.
TEST(PartHeader, PiecesOfALongLineAreLines) {
    std::string line(4096, 'x');
    line += "Content-Type: image/png; name=a.png";
    const std::string message = multipart("mixed", "--b\n\nfirst\n--b\n" + line + "\n\nBody\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(textOf(sectionsOf(opened).at(1)->fileName), "a.png");
    EXPECT_EQ(bodyOf(message, sectionsOf(opened).at(1)), "Body");
}

// A read that begins with CR or LF ends the header, also when it is the rest of a long line.
TEST(PartHeader, RestOfALongLineThatIsALineEndEndsTheHeader) {
    const std::string message = multipart("mixed", "--b\n\nfirst\n--b\n" + std::string(4096, 'x') +
                                                       "\nContent-Type: image/png\n\nBody\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(sectionsOf(opened).at(1)->contentClass, 0U);
    EXPECT_EQ(bodyOf(message, sectionsOf(opened).at(1)), "Content-Type: image/png\r\n\r\nBody");
}

TEST(PartHeader, ZeroByteEndsATextButNotItsLine) {
    using namespace std::string_literals;
    const std::string message =
        multipart("mixed", "--b\n\nfirst\n--b\nContent-Type: image/png; name=\"a\0b\"\n\nBody\n--b--\n"s);
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(textOf(sectionsOf(opened).at(1)->fileName), "a");
    EXPECT_EQ(bodyOf(message, sectionsOf(opened).at(1)), "Body");
}

TEST(PartHeader, NamesAndBoundariesAreAsLongAsTheirLine) {
    const std::string name(3000, 'n');
    const std::string boundary(3900, 'o');
    const std::string message =
        multipart("mixed", "--b\n\nfirst\n--b\nContent-Type: image/png; name=\"" + name +
                               "\"\n boundary=" + boundary + "\n\nBody\n--b--\n");
    RecordingHost host(message);
    OpenedMessage opened(host);
    EXPECT_EQ(textOf(sectionsOf(opened).at(1)->fileName), name);
    EXPECT_EQ(textOf(sectionsOf(opened).at(1)->boundary), "--" + boundary);
    EXPECT_EQ(sectionsOf(opened).at(1)->boundaryLength, 3902U);
    EXPECT_EQ(opened.describe(1).name, name);
}

// A copy that cannot be allocated is simply absent.
TEST(PartHeader, NameThatCannotBeCopiedIsAbsent) {
    const std::string message =
        multipart("mixed", "--b\n\ntext\n--b\nContent-Type: image/png; name=a.png\n\nBody\n--b--\n");
    // The context, the line buffer, the boundary, the records of the parts, and then the name.
    RecordingHost host(message);
    host.journal().fail(Entry::kAllocate, {5, false});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OK);
    EXPECT_EQ(sectionsOf(opened).at(1)->fileName, nullptr);
    EXPECT_EQ(opened.subFileCount(), 1U);
}

TEST(PartHeader, BoundaryThatCannotBeCopiedIsAbsent) {
    RecordingHost host(multipart("mixed", "--b\n\ntext\n--b--\n"));
    host.journal().fail(Entry::kAllocate, {3, false});
    OpenedMessage opened(host);
    EXPECT_EQ(opened.result(), EML_OK);
    EXPECT_EQ(opened.context()->boundary, nullptr);
    EXPECT_EQ(sectionsOf(opened).size(), 1U);
}

}  // namespace
}  // namespace eml::test
