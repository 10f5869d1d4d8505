#include "tool/message/mime_text.h"

#include <gtest/gtest.h>

#include "tool/html/html_parser.h"

#include "tool/text/charset_guess.h"

namespace emltool {
namespace {

using emlreader::mime::Message;

struct Row {
    const char* what;
    std::string message;
    const char* text;
    bool isFromHtml;
};

std::string multipart(const std::string& subtype, const std::vector<std::string>& parts) {
    std::string text = "Content-Type: multipart/" + subtype + "; boundary=b\r\n\r\n";
    for (const std::string& part : parts) text += "--b\r\n" + part + "\r\n";
    return text + "--b--\r\n";
}

const std::string kPlain = "Content-Type: text/plain\r\n\r\nplain";
const std::string kHtml = "Content-Type: text/html\r\n\r\n<p>Hello <b>you</b></p>";

TEST(MimeText, IsWhatAPersonReads) {
    const Row rows[] = {
        {"plain text, empty lines at both ends left out", "Subject: s\r\n\r\n\r\n\r\na\r\n\r\nb\r\n\r\n",
         "a\n\nb\n", false},
        {"the plain one of two versions", multipart("alternative", {kPlain, kHtml}), "plain\n", false},
        {"the text of HTML alone", kHtml, "Hello you\n", true},
        {"HTML is HTML by its type, also without a tag in its first line",
         "Content-Type: text/html\r\n\r\nFirst\r\n<p>second", "First\n\nsecond\n", true},
        {"multipart/related at the top", multipart("related", {kHtml, "Content-Type: image/png\r\n\r\nx"}),
         "Hello you\n", true},
        {"texts one after the other", multipart("mixed", {kPlain, kHtml}), "plain\nHello you\n", false},
        {"no text of attachments",
         multipart("mixed", {kPlain, "Content-Disposition: attachment\r\n\r\nsecret"}), "plain\n", false},
        {"an underscore of quoted-printable stays",
         "Content-Transfer-Encoding: quoted-printable\r\n\r\nutm_source=3D1\r\n", "utm_source=1\n", false},
        {"a charset by its label", "Content-Type: text/plain; charset=koi8-r\r\n\r\n\xF0\xD2\xC9",
         "\xD0\x9F\xD1\x80\xD0\xB8\n", false},
        {"few letters without a charset are windows-1252", "Subject: s\r\n\r\nUnencoded euro sign: \x80",
         "Unencoded euro sign: \xE2\x82\xAC\n", false},
        {"the charset that HTML names", "Content-Type: text/html\r\n\r\n<meta charset=koi8-r>\xF0\xD2\xC9",
         "\xD0\x9F\xD1\x80\xD0\xB8\n", true},
        {"HTML that says UTF-8 and is not", "Content-Type: text/html\r\n\r\n<meta charset=utf-8>caf\xE9",
         "caf\xC3\xA9\n", true},
        {"the charset of the part before that of its HTML",
         "Content-Type: text/html; charset=iso-8859-1\r\n\r\n<meta charset=koi8-r>caf\xE9", "caf\xC3\xA9\n",
         true},
        {"a guess needs more than a few letters",
         "Subject: s\r\n\r\nSe\xF1or Nu\xF1"
         "ez",
         "Se\xC3\xB1or Nu\xC3\xB1"
         "ez\n",
         false},
        {"HTML before text of another type",
         multipart("alternative", {"Content-Type: text/plain\r\n\r\n \r\n", kHtml,
                                   "Content-Type: text/calendar\r\n\r\nBEGIN:VCALENDAR"}),
         "Hello you\n", true},
        {"no text of another type that is a file", "Content-Type: text/markdown; name=a.md\r\n\r\n# a", "",
         false},
        {"HTML where the plain text says nothing",
         multipart("alternative", {"Content-Type: text/plain\r\n\r\n \r\n", kHtml}), "Hello you\n", true},
        {"text of another type that is all there is", "Content-Type: text/markdown\r\n\r\n# a", "# a\n",
         false},
        {"the text of RTF", "Content-Type: text/rtf\r\n\r\n{\\rtf1\\ansi one {\\b two}\\par three}",
         "one two\nthree\n", false},
        {"the text of RTF, also as an application",
         multipart("mixed", {"Content-Type: application/rtf\r\n\r\n{\\rtf1 one}"}), "one\n", false},
        {"RTF that is none stays as it is", "Content-Type: text/rtf\r\n\r\nplain", "plain\n", false},
        {"no text of another type beside a text",
         multipart("mixed", {kPlain, "Content-Type: text/calendar\r\n\r\nBEGIN:VCALENDAR"}), "plain\n",
         false},
        {"nothing", "Subject: s\r\n\r\n", "", false},
    };
    for (const Row& row : rows) {
        // Without the library, which there is rarely for 32 bits, its source is the text of HTML.
        const bool hasHtml = row.message.find("text/html") != std::string::npos;
        if (hasHtml && !emltool::readsHtml()) continue;
        const Message message = Message::fromBytes(row.message);
        const BodyText body = readBody(message, 0);
        EXPECT_EQ(body.text, row.text) << row.what;
        EXPECT_EQ(body.isFromHtml, row.isFromHtml) << row.what;
    }
}

TEST(MimeText, SourceOfHtmlStays) {
    EXPECT_EQ(readBody(Message::fromBytes(kHtml), 0, {true}).text, "<p>Hello <b>you</b></p>\n");
}

TEST(MimeText, FlowedLinesAreJoined) {
    const std::string flowed = "Content-Type: text/plain; format=flowed; charset=";
    const std::string lines = "\r\n\r\n>one \r\n>two \r\n thr\xE9 \r\nfour\r\n";
    const Row rows[] = {
        {"of a known charset", flowed + "iso-8859-1" + lines, "> one two \nthr\xC3\xA9 four\n", false},
        {"of one that nobody knows", flowed + "x-none" + lines, "> one two \nthr\xC3\xA9 four\n", false},
        {"of text that is guessed by its letters",
         flowed + "x-none\r\n\r\n\xFA\xC4\xD2\xC1\xD7\xD3\xD4\xD7\xD5\xCA\xD4\xC5, "
                  "\xC4\xCF\xD2\xCF\xC7\xC9\xC5 \xC4\xD2\xD5\xDA\xD8\xD1 \xC9 \xCB\xCF\xCC\xCC\xC5\xC7\xC9, "
                  "\xCB\xC1\xCB \xD7\xD9 \xD0\xCF\xD6\xC9\xD7\xC1\xC5\xD4\xC5? \r\n\xF0\xCF\xC7\xCF\xC4\xC1 "
                  "\xD5 \xCE\xC1\xD3 \xD3\xC5\xC7\xCF\xC4\xCE\xD1 \xC8\xCF\xD2\xCF\xDB\xC1\xD1.\r\n",
         "Здравствуйте, дорогие друзья и коллеги, как вы поживаете? Погода у нас сегодня хорошая.\n", false},
        {"of UTF-8 under a name that nobody knows", flowed + "x-none; delsp=yes\r\n\r\n\xC3\xA4 \r\nb\r\n",
         "\xC3\xA4"
         "b\n",
         false},
    };
    for (const Row& row : rows) {
        if (std::string_view(row.what).find("guessed") != std::string_view::npos && !guessesCharsets())
            continue;
        const Message message = Message::fromBytes(row.message);
        EXPECT_EQ(readBody(message, 0).text, row.text) << row.what;
    }
}

TEST(MimeText, SourceOfFlowedLinesStays) {
    const std::string flowed = "Content-Type: text/plain; format=flowed";
    const Row rows[] = {
        {"without a charset", flowed + "\r\n\r\n>one \r\n>two\r\n  three\r\n", ">one \n>two\n  three\n",
         false},
        {"with one", flowed + "; charset=iso-8859-1\r\n\r\n\xE9 \r\nb\r\n", "\xC3\xA9 \nb\n", false},
        {"in 7 bits", flowed + "; charset=iso-2022-jp\r\n\r\n\x1B$BF|\x1B(B \r\nb\r\n", "\u65E5 \nb\n",
         false},
        {"that is not as it says", flowed + "; charset=us-ascii\r\n\r\n\xC3\xA9 \r\nb\r\n", "\xC3\xA9 \nb\n",
         false},
        {"encoded", flowed + "\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\na=20\r\nb=\r\nc\r\n",
         "a \nbc\n", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(readBody(Message::fromBytes(row.message), 0, {true}).text, row.text) << row.what;
    }
}

// A signature ends with its part.
TEST(MimeText, SpansAreThoseOfEachPart) {
    const std::string signedText = "Content-Type: text/plain\r\n\r\nabc\r\n-- \r\nAnna\r\n";
    const BodyText body = readBody(Message::fromBytes(multipart("mixed", {signedText, kPlain})), 0);
    EXPECT_EQ(body.text, "abc\n-- \nAnna\nplain\n");
    EXPECT_EQ(spansOf(body),
              (std::vector<TextSpan>{
                  {SpanKind::kOwn, 1, 1}, {SpanKind::kSignature, 2, 2}, {SpanKind::kOwn, 4, 1}}));
    EXPECT_EQ(spansOf(readBody(Message::fromBytes("Subject: s\r\n\r\n"), 0)), std::vector<TextSpan>());
}

TEST(MimeText, SizeIsThatOfTheDecodedText) {
    const std::string both = multipart("alternative", {kPlain, kHtml});
    const Message text = Message::fromBytes(both);
    const Message picture = Message::fromBytes("Content-Type: image/png\r\n\r\nx");
    EXPECT_EQ(textSize(textParts(text, 0)), 5U);
    EXPECT_EQ(textSize(textParts(picture, 0)), std::nullopt);
}

}  // namespace
}  // namespace emltool
