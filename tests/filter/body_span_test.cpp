// Where the readable text of a message lies.
#include "filter/body_span.h"

#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

// The text that the span covers, and its encoding.
struct Found {
    std::string text;
    uint32_t encoding;
};

Found bodyOf(const std::string& message) {
    OpenFilter filter(message);
    if (filter.context() == nullptr || filter.opened().parts.bodies.count == 0) return {"(no part)", 0};
    BodySpan span{};
    const EmlResult result = getBody(filter.opened(), span);
    if (result != EML_OK) return {"(failed)", result};
    if (span.start < 0 || span.end < span.start || static_cast<size_t>(span.end) > message.size())
        return {"(a span outside of the message)", 0};
    const auto start = static_cast<size_t>(span.start);
    return {message.substr(start, static_cast<size_t>(span.end) - start),
            codeOf(filter.opened().transferEncoding)};
}

constexpr const char kMixed[] = "Mime-Version: 1.0\nContent-Type: multipart/mixed; boundary=b\n\n";
constexpr const char kAttachment[] = "--b\nContent-Type: image/x; name=n\n\ncontent\n--b--\n";

TEST(FilterBody, IsTheTextOfTheFirstPart) {
    struct Row {
        const char* name;
        std::string message;
        std::string text;
        uint32_t encoding;
    };
    const std::string mixed = kMixed;
    const Row kRows[] = {
        {"one part", mixed + "--b\nContent-Type: text/plain\n\ntext\n--b--\n", "text", 0},
        {"text and attachment", mixed + "--b\nContent-Type: text/plain\n\ntext\n" + kAttachment, "text", 0},
        {"encoded",
         mixed + "--b\nContent-Type: text/plain\nContent-Transfer-Encoding: quoted-printable\n\ntext\n" +
             kAttachment,
         "text", 5},
        {"two texts",
         mixed + "--b\nContent-Type: text/plain\n\none\n--b\nContent-Type: text/html\n\ntwo\n--b--\n", "one",
         0},
        {"alternative",
         "Mime-Version: 1.0\nContent-Type: multipart/alternative; boundary=b\n\n--b\nContent-Type: "
         "text/plain\n"
         "Content-Transfer-Encoding: base64\n\none\n--b\nContent-Type: text/html\n\ntwo\n--b--\n",
         "one", 4},
        {"alternative in mixed",
         mixed +
             "--b\nContent-Type: multipart/alternative; boundary=n\n\n--n\nContent-Type: text/plain\n"
             "Content-Transfer-Encoding: 8bit\n\none\n--n\nContent-Type: text/html\n\ntwo\n--n--\n" +
             kAttachment,
         "one", 2},
        {"related in mixed",
         mixed +
             "--b\nContent-Type: multipart/related; boundary=n\n\n--n\nContent-Type: text/html\n\none\n"
             "--n\nContent-Type: image/x; name=i\n\npicture\n--n--\n" +
             kAttachment,
         "one", 0},
        {"alternative in related in mixed",
         mixed +
             "--b\nContent-Type: multipart/related; boundary=n\n\n--n\n"
             "Content-Type: multipart/alternative; boundary=m\n\n--m\nContent-Type: text/plain\n\none\n"
             "--m\nContent-Type: text/html\n\ntwo\n--m--\n--n--\n" +
             kAttachment,
         "one", 0},
        {"preamble", mixed + "a preamble\n--b\nContent-Type: text/plain\n\ntext\n" + kAttachment, "text", 0},
        {"empty text", mixed + "--b\nContent-Type: text/plain\n\n\n" + kAttachment, "", 0},
    };
    for (const Row& row : kRows) {
        for (const bool lf : {false, true}) {
            const std::string message = lf ? row.message : crlf(row.message);
            const Found found = bodyOf(message);
            EXPECT_EQ(found.text, row.text) << row.name << (lf ? ", LF" : ", CR LF");
            EXPECT_EQ(found.encoding, row.encoding) << row.name << (lf ? ", LF" : ", CR LF");
        }
    }
}

// The end is looked for in as many buffers as it takes.
TEST(FilterBody, MayBeLongerThanAnInputBuffer) {
    std::string text;
    for (int i = 0; i < 600; ++i) text += "line " + std::to_string(i) + " of a long text\n";
    const std::string message =
        crlf(std::string(kMixed) + "--b\nContent-Type: text/plain\n\n" + text + kAttachment);
    const std::string wanted = crlf(text);
    EXPECT_EQ(bodyOf(message).text, wanted.substr(0, wanted.size() - 2));
}

TEST(FilterBody, WithoutAStartIsTheWholePartAsItStands) {
    // Its header is read and has an encoding, but is that of a further level, whose parts never come.
    std::string text;
    for (int i = 0; i < 500; ++i) text += "a line of the text\n";
    const std::string message = crlf(std::string(kMixed) + "--b\nContent-Type: multipart/report\n" +
                                     "Content-Transfer-Encoding: base64\n\n" + text);
    OpenFilter filter(message);
    ASSERT_EQ(filter.opened().parts.bodies.count, 1);
    BodySpan span{};
    ASSERT_EQ(getBody(filter.opened(), span), EML_OK);
    EXPECT_EQ(span.start, filter.opened().parts.bodies.records[0].start);
    EXPECT_EQ(span.end, filter.opened().parts.bodies.records[0].end);
    EXPECT_EQ(codeOf(filter.opened().transferEncoding), 0U);
}

TEST(FilterBody, BoundaryWithoutAHeaderIsFollowedByText) {
    // LF: the empty line directly after the boundary line
    const std::string message = std::string(kMixed) +
                                "--b\nContent-Type: multipart/alternative; boundary=n\n\n"
                                "--n\n\ntext\n--n--\n" +
                                kAttachment;
    EXPECT_EQ(bodyOf(message).text, "text");
}

// KEPT: dashes after a boundary are stepped over as a line end is.
TEST(FilterBody, ClosingBoundaryCanOpenTheText) {
    const std::string message =
        std::string(kMixed) + "--b\nContent-Type: multipart/alternative; boundary=n\n\n--n--\n\ntext\n--n\n" +
        kAttachment;
    EXPECT_EQ(bodyOf(message).text, "\ntext");
}

TEST(FilterBody, LeavesTheContentTypeAsItWas) {
    OpenFilter filter(crlf(std::string(kMixed) + "--b\nContent-Type: text/html\n\ntext\n" + kAttachment));
    ASSERT_STREQ(filter.opened().contentType, "image/x");
    BodySpan span{};
    ASSERT_EQ(getBody(filter.opened(), span), EML_OK);
    EXPECT_STREQ(filter.opened().contentType, "image/x");
}

// KEPT: the boundary of a nested level serves one search.
TEST(FilterBody, BoundaryIsPutBackAfterTheSearch) {
    OpenFilter filter(crlf(std::string(kMixed) +
                           "--b\nContent-Type: multipart/alternative; boundary=longer-one\n\n--longer-one\n"
                           "Content-Type: text/html\n\ntext\n--longer-one--\n" +
                           kAttachment));
    ASSERT_STREQ(filter.opened().boundary.text, "--b");
    BodySpan first{};
    ASSERT_EQ(getBody(filter.opened(), first), EML_OK);
    EXPECT_STREQ(filter.opened().boundary.text, "--b");
    EXPECT_EQ(filter.opened().boundary.length, 3);
    BodySpan second{};
    ASSERT_EQ(getBody(filter.opened(), second), EML_OK);
    EXPECT_EQ(second.start, first.start);
    EXPECT_EQ(second.end, first.end);
}

// The end of the span never comes before its start.
TEST(FilterBody, StartBehindTheEndMakesItEmpty) {
    const std::string message = crlf(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\n"
        "Content-Type: text/plain\n\n" +
        std::string(9000, 't'));
    OpenFilter filter(message);
    ASSERT_EQ(filter.opened().parts.bodies.count, 1);
    filter.opened().parts.bodies.records[0].end = filter.opened().parts.bodies.records[0].start + 5;
    BodySpan span{};
    ASSERT_EQ(getBody(filter.opened(), span), EML_OK);
    EXPECT_EQ(span.start, static_cast<int32_t>(message.find("tttt")));
    EXPECT_EQ(span.end, span.start);
}

// A boundary that stands first in all that is left of the message leaves an empty buffer: the search ends.
TEST(FilterBody, PartThatIsNotClosedHasNoStart) {
    const std::string message = crlf(std::string(kMixed) + "--b\nContent-Type: text/plain\n\ntext\n");
    EXPECT_EQ(bodyOf(message).text, message.substr(message.find("--b")));
}

TEST(FilterBody, InputThatCannotBePositionedFails) {
    OpenFilter filter(crlf(std::string(kMixed) + "--b\nContent-Type: text/html\n\ntext\n" + kAttachment));
    filter.host().journal().fail(Entry::kInputSeek, {2, true});
    BodySpan span{};
    EXPECT_EQ(getBody(filter.opened(), span), EML_OBJECT_FAILED);
}

TEST(FilterBody, BoundaryThatCannotBeStoredFails) {
    OpenFilter filter(crlf(std::string(kMixed) +
                           "--b\nContent-Type: multipart/alternative; boundary=longer-one\n\n--longer-one\n"
                           "Content-Type: text/html\n\ntext\n--longer-one--\n" +
                           kAttachment));
    ASSERT_NE(filter.context(), nullptr);
    filter.host().journal().fail(Entry::kReallocate, {1, true});
    BodySpan span{};
    EXPECT_EQ(getBody(filter.opened(), span), EML_NO_MEMORY);
    EXPECT_EQ(filter.host().services().lastError, EML_NO_MEMORY);
}

// What a person would see: the text of each of these as the stream gives it.
TEST(FilterBody, TextThatAnAttachmentPrecedesIsEmpty) {
    const std::string text = "--b\nContent-Type: text/plain\n\nsome text\n";
    const std::string picture = "--b\nContent-Type: image/x; name=n\n\ncontent\n";
    EXPECT_EQ(bodyRecords(crlf(kMixed + text + picture + "--b--\n")), "{7}'some text'");
    // KEPT: the first attachment stands before the text, or within it
    EXPECT_EQ(bodyRecords(crlf(kMixed + picture + text + "--b--\n")), "{7}");
    EXPECT_EQ(bodyRecords(crlf("Content-Type: image/x; name=n\n\ncontent\n")), "{7}");
}

}  // namespace
}  // namespace eml::test
