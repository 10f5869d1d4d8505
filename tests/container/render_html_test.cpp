// The message as HTML. KEPT throughout: values stand unescaped, and the header block is a document of its
// own.
#include <gtest/gtest.h>

#include "container/metadata_lists.h"
#include "host/scripted_services.h"
#include "support/sections.h"

namespace eml::test {
namespace {

const std::string kOpening =
    "<html>\r\n<head><meta http-equiv=\"content-type\" content=\"text/html\" /></head>\r\n"
    "<body>\r\n<p><font face=\"Arial\" size=2>\r\n";
const std::string kClosing = "</font></p>\r\n</body>\r\n</html>\r\n";

std::string htmlMessage(const std::string& header, const std::string& body) {
    return crlf(header + "Content-Type: text/html\n\n") + body;
}

std::string render(const std::string& message, uint32_t options = 0) {
    RecordingHost host(message, {.heapMode = HeapMode::kGuarded});
    OpenedMessage opened(host);
    const Extracted content = opened.extract(0, options);
    EXPECT_EQ(content.result, EML_OK);
    EXPECT_EQ(content.sizeField, content.bytes.size());
    return content.bytes;
}

TEST(RenderHtml, TheFixedTexts) {
    EXPECT_EQ(kOpening.size(), 116u);
    EXPECT_EQ(kClosing.size(), 31u);
    EXPECT_EQ(render(htmlMessage("", "<p>x")), kOpening + kClosing + "<p>x");
}

TEST(RenderHtml, AllRowsInTheirOrderWhateverTheHeaders) {
    EXPECT_EQ(render(htmlMessage(
                  "Priority: 1 (Highest)\nSubject: s\nBcc: b\nCc: c\nTo: t\nTo: u\nDate: d\nFrom: f\n", "B")),
              kOpening +
                  "<b>From: </b>f<br>\r\n<b>Sent: </b>d<br>\r\n<b>To: </b>t#####u<br>\r\n<b>Cc: </b>c<br>\r\n"
                  "<b>Bcc: </b>b<br>\r\n<b>Subject: </b>s<br>\r\n<b>Priority: </b>1 (Highest)<br>\r\n" +
                  kClosing + "B");
}

TEST(RenderHtml, ValuesAreNotEscaped) {
    EXPECT_EQ(render(htmlMessage("From: A <a@b> & \"c\"\nSubject: <script>\n", "")),
              kOpening + "<b>From: </b>A <a@b> & \"c\"<br>\r\n<b>Subject: </b><script><br>\r\n" + kClosing);
}

TEST(RenderHtml, ZeroBytesAtTheEndOfAValueAreCutOffForGood) {
    RecordingHost host(htmlMessage("Subject: =?x?Q?a=00b=00=00?=\nTo: =?x?Q?=00?=\n", ""));
    OpenedMessage opened(host);
    const std::string expected =
        kOpening + "<b>Subject: </b>a" + std::string(1, '\0') + "b<br>\r\n" + kClosing;
    EXPECT_EQ(opened.extract(0).bytes, expected);
    EXPECT_EQ(opened.context()->metaData.entries[5]->valueLength, 3u) << "in the list itself";
    EXPECT_EQ(opened.context()->metaData.entries[2]->valueLength, 0u);
    EXPECT_EQ(opened.extract(0).bytes, expected);
}

const std::string kTwoNamed = multipart("mixed",
                                        "--b\nContent-Type: text/html\n\nBODY\n"
                                        "--b\nContent-Type: image/png; name=x.doc\n\n1\n"
                                        "--b\nContent-Type: image/png; name=y<.pdf\n\n2\n--b--\n");

// KEPT: between names stand three characters, and no line break follows the list.
TEST(RenderHtml, Attachments) {
    EXPECT_EQ(render(kTwoNamed), kOpening + "<b>Attachments: </b>x.doc; Fy<.pdf" + kClosing + "BODY");
}

TEST(RenderHtml, BodyOnlyIsTheBodyAlone) {
    for (const uint32_t options : {2u, 6u}) EXPECT_EQ(render(kTwoNamed, options), "BODY");
    EXPECT_EQ(render(kTwoNamed, 4), render(kTwoNamed, 0));
    EXPECT_EQ(render(kTwoNamed, 8 | 1 | 0xFFFFFF00), render(kTwoNamed, 0)) << "other bits are ignored";
}

TEST(RenderHtml, TheBodyByItsEncoding) {
    struct Row {
        const char* encoding;
        std::string body;
        std::string expected;
    };
    const Row rows[] = {
        {"7bit", "a=3D\r\nb\xFF", "a=3D\r\nb\xFF"},
        {"8bit", "\xE4\r\n", "\xE4\r\n"},
        {"x-other", "TWFu", "TWFu"},
        {"base64", "TWFu", "Man"},
        {"base64", "YQ0KYg==", "a\nb"},  // a text class: CR is dropped
        {"quoted-printable", "a=3D=\r\nb_=0D=0Ac=20\r\nd", "a=b_\r\nc \r\nd"},
        {"quoted-printable",
         "a\xFF"
         "b",
         "a"},  // KEPT: 0xFF ends it
        {"base64",
         "TWFu\xFF"
         "TWFu",
         "Man"},
        {"base64", "TWFu-TWFu", "Man"},
        {"base64", "", ""},
        {"quoted-printable", "", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(
            render(htmlMessage(std::string("Content-Transfer-Encoding: ") + row.encoding + "\n", row.body),
                   2),
            row.expected)
            << row.encoding << " " << row.body;
    }
}

TEST(RenderHtml, LongBodiesAndValuesArriveWhole) {
    std::string body, value;
    for (int i = 0; i < 20000; ++i) body += static_cast<char>('a' + i % 26);
    for (size_t length :
         std::initializer_list<size_t>{3900, 3980, 3985, 3995, 4000, 4086, 4087, 4096, 5000, 12001}) {
        value.assign(length, 'v');
        const std::string message =
            htmlMessage("From: f\nSubject: x" + value.substr(0, 100) + "\n " + value + "\n", body);
        EXPECT_TRUE(render(message) == kOpening + "<b>From: </b>f<br>\r\n<b>Subject: </b>x" +
                                           value.substr(0, 100) + " " + value + "<br>\r\n" + kClosing + body)
            << length;
    }
}

// Rows are gathered in one buffer; the body is streamed in blocks.
TEST(RenderHtml, FewWritesAndConstantMemory) {
    const auto costOf = [](size_t size) {
        RecordingHost host(htmlMessage("From: f\nTo: t\nSubject: s\n", std::string(size, 'x')));
        OpenedMessage opened(host);
        const Extracted content = opened.extract(0);
        EXPECT_EQ(content.writes.size(), 1 + (size + 4095) / 4096);
        return host.heap().peakBytes();
    };
    EXPECT_EQ(costOf(1000000), costOf(10000));
}

TEST(RenderHtml, NoConversionWhateverTheCharset) {
    ScriptedMessage message(htmlMessage("Subject: s\n", "B"));
    message.services.convert = [](const HostConversion&) { return std::string("?"); };
    EXPECT_EQ(message.render(0, 53).bytes, kOpening + "<b>Subject: </b>s<br>\r\n" + kClosing + "B");
    EXPECT_TRUE(message.services.calls.empty());
    EXPECT_EQ(message.resultFlags, 0u);
}

// The copy ends at a read below 1, and never takes more than was delivered.
TEST(RenderHtml, ReadsThatGiveNothingEndTheCopy) {
    for (const ReadStyle style :
         {ReadStyle::kMinusOne, ReadStyle::kOneByte, ReadStyle::kHalf, ReadStyle::kMoreThanAsked}) {
        for (const char* encoding : {"7bit", "base64", "quoted-printable"}) {
            RecordingHost host(htmlMessage(std::string("Content-Transfer-Encoding: ") + encoding + "\n",
                                           std::string(9000, 'Q')));
            OpenedMessage opened(host);
            const std::string whole = opened.extract(0).bytes;
            host.setReadStyle(style);
            const Extracted content = opened.extract(0);
            EXPECT_EQ(content.result, EML_OK);
            EXPECT_EQ(content.bytes, style == ReadStyle::kMinusOne ? kOpening + kClosing : whole) << encoding;
        }
    }
}

TEST(RenderHtml, ABodyThatCannotBeReachedGivesWhatItsDecoderGives) {
    for (const auto& [encoding, expected] : std::vector<std::pair<const char*, EmlResult>>{
             {"base64", EML_INPUT_UNUSABLE}, {"quoted-printable", EML_INPUT_UNUSABLE}, {"7bit", EML_OK}}) {
        RecordingHost host(htmlMessage(std::string("Content-Transfer-Encoding: ") + encoding + "\n", "QUJD"));
        OpenedMessage opened(host);
        host.journal().fail(Entry::kInputSeek, {host.journal().calls(Entry::kInputSeek) + 1, true});
        const Extracted content = opened.extract(0);
        EXPECT_EQ(content.result, expected) << encoding;
        EXPECT_TRUE(content.closed);
    }
}

// Which form: the plain body first, unless the rich one is preferred.
TEST(Render, TheForm) {
    const std::string plain = "--a\nContent-Type: text/plain\n\nPLAIN\n";
    const std::string html = "--a\nContent-Type: text/html\n\nHTML\n";
    const std::string rtf = "--a\nContent-Type: application/rtf\n\n{\\rtf1 R}\n";
    struct Row {
        std::string parts;
        const char* usual;
        const char* preferred;
    };
    const Row rows[] = {
        {plain, "PLAIN", "PLAIN"},
        {html, "HTML", "HTML"},
        {rtf, "{\\rtf1 R}", "{\\rtf1 R}"},
        {plain + html, "PLAIN", "HTML"},
        {plain + rtf, "PLAIN", "{\\rtf1 R}"},
        {html + rtf, "HTML", "HTML"},
        {rtf + html + plain, "PLAIN", "HTML"},
        {"--a\nContent-Type: image/png\n\nx\n", "", ""},
    };
    for (const Row& row : rows) {
        const std::string message =
            crlf("Content-Type: multipart/alternative; boundary=a\n\n" + row.parts + "--a--\n");
        EXPECT_EQ(render(message, 2), row.usual) << row.parts;
        EXPECT_EQ(render(message, 6), row.preferred) << row.parts;
    }
}

TEST(Render, EncryptedMessagesAreNotRendered) {
    RecordingHost host(crlf("Content-Type: application/pkcs7-mime\n\nTWFu\n"));
    OpenedMessage opened(host);
    for (const uint32_t options : {0u, 2u, 4u, 6u}) {
        const Extracted content = opened.extract(0, options);
        EXPECT_EQ(content.result, EML_ENCRYPTED);
        EXPECT_EQ(content.bytes, "");
    }
}

TEST(Render, UnderARootFolderTheMessageIsNumberOne) {
    RecordingHost host(htmlMessage("", "B"));
    OpenedMessage opened(host, EML_OPEN_ROOT_FOLDER);
    EXPECT_FALSE(opened.extract(0, 2).opened);
    EXPECT_EQ(opened.extract(1, 2).bytes, "B");
}

}  // namespace
}  // namespace eml::test
