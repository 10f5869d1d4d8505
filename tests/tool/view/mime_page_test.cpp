#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "standalone/input.h"
#include "tool/html/html_parser.h"
#include "tool/text/charset_guess.h"
#include "tool/view/calendar_text.h"
#include "tool/view/page.h"
#include "tool/view/pictures.h"
#include "tool/view/site.h"

namespace {

using emltool::ViewPage;

// Without the library, which there is rarely for 32 bits, a page has the source of HTML.
class MimePage : public testing::Test {
  protected:
    void SetUp() override {
        if (!emltool::readsHtml()) GTEST_SKIP() << emltool::htmlLack();
    }
};

ViewPage pageOf(const std::string& message, uint64_t maxEmbed = 1 << 20) {
    emlhost::MemoryInput input({reinterpret_cast<const uint8_t*>(message.data()), message.size()});
    return emltool::buildMimePage(input, "m.eml", {maxEmbed});
}

bool has(const ViewPage& page, std::string_view text) { return page.html.find(text) != std::string::npos; }

size_t countOf(const ViewPage& page, std::string_view text) {
    size_t count = 0;
    for (size_t at = page.html.find(text); at != std::string::npos; at = page.html.find(text, at + 1))
        ++count;
    return count;
}

constexpr const char* kPicture = "iVBORw0KGgo=";  // the beginning of a PNG

std::string related(const std::string& html) {
    return "Subject: s\nContent-Type: multipart/related; boundary=b\n\n--b\nContent-Type: text/html\n\n" +
           html +
           "\n--b\nContent-Type: image/png; name=logo.png\nContent-ID: <1@x>\nContent-Location: "
           "pic/logo.png\n"
           "Content-Transfer-Encoding: base64\n\n" +
           kPicture +
           "\n--b\nContent-Type: text/html; name=page.html\nContent-ID: <2@x>\n\n<script>1</script>\n--b--\n";
}

TEST_F(MimePage, PicturesOfTheMessageAreShownAndNotListed) {
    for (const char* html :
         {"<img src='cid:1@x'>", "<img src=pic/logo.png>", "<p style='background:url(cid:1%40x)'>"}) {
        const ViewPage page = pageOf(related(html));
        // Once in the frame, once in the copy under it.
        EXPECT_EQ(countOf(page, std::string("data:image/png;base64,") + kPicture), size_t{2}) << html;
        EXPECT_TRUE(has(page, "Shown in the message: logo.png")) << html;
        EXPECT_FALSE(has(page, "download=\"logo.png\"")) << html;
    }
}

TEST_F(MimePage, OnlyPicturesAreShown) {
    const ViewPage page = pageOf(related("<img src='cid:2@x'><img src='cid:none'>"));
    EXPECT_TRUE(has(page, "2 pictures of the message cannot be shown"));
    EXPECT_FALSE(has(page, "src=\"data:text"));
    EXPECT_TRUE(has(page, "download=\"page.html\""));
    EXPECT_TRUE(has(page, "download=\"logo.png\""));
}

TEST_F(MimePage, PicturesHaveALimit) {
    const ViewPage page = pageOf(related("<img src='cid:1@x'>"), 4);
    EXPECT_TRUE(has(page, "1 picture of the message cannot be shown"));
    EXPECT_TRUE(has(page, "too large for this page"));
}

TEST_F(MimePage, ThePolicyIsInThePageAndInTheFrame) {
    const ViewPage page = pageOf(related("<p>x"));
    EXPECT_TRUE(has(page, "content=\"default-src 'none'; img-src data:; style-src 'unsafe-inline'"));
    EXPECT_TRUE(has(page, "content=&quot;default-src &#39;none&#39;; img-src data:;"));
    EXPECT_TRUE(has(page, "<iframe sandbox=\"allow-popups allow-popups-to-escape-sandbox\""));
    EXPECT_FALSE(has(page, "script-src"));
}

// The type decides, not what the first line looks like.
TEST_F(MimePage, HtmlIsWhatSaysSo) {
    EXPECT_TRUE(has(pageOf("Content-Type: text/html\n\nno tag here\n<b>bold</b>"), "<iframe"));
    EXPECT_FALSE(has(pageOf("Content-Type: text/plain\n\n<html><b>text</b>"), "<iframe"));
    EXPECT_TRUE(has(pageOf("Content-Type: text/plain\n\n<html>"), "&lt;html&gt;"));
}

TEST_F(MimePage, TheOtherFormOfTheTextIsThereToo) {
    const ViewPage page = pageOf(
        "Content-Type: multipart/alternative; boundary=b\n\n--b\n\nplain form\n--b\nContent-Type: "
        "text/html\n\n<p>rich\n--b--");
    EXPECT_TRUE(has(page, "As plain text"));
    EXPECT_TRUE(has(page, "plain form"));
    EXPECT_FALSE(has(page, "Attachments"));
}

TEST_F(MimePage, MessagesInsideAreArticles) {
    const ViewPage page = pageOf(
        "Subject: outer\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\ntext\n--b\nContent-Type: "
        "message/rfc822\n\n"
        "Subject: inner\n\ninner text\n--b\nContent-Type: message/rfc822\nContent-Transfer-Encoding: "
        "base64\n\n"
        "U3ViamVjdDogaGlkZGVuCgpkZWVwIHRleHQK\n--b--");
    EXPECT_EQ(countOf(page, "<article"), size_t{3});
    EXPECT_TRUE(has(page, "<h2>inner</h2>"));
    EXPECT_TRUE(has(page, "<h2>hidden</h2>"));
    EXPECT_TRUE(has(page, "deep text"));
    EXPECT_TRUE(has(page, "href=\"#message-3\""));
    EXPECT_TRUE(has(page, "id=\"message-3\""));
    EXPECT_TRUE(has(page, "href=\"#message-4-0\""));
    EXPECT_TRUE(has(page, "id=\"message-4-0\""));
    EXPECT_EQ(page.summary.attachments, size_t{2});
}

TEST_F(MimePage, AnInvitationIsACardOnce) {
    const std::string calendar = "BEGIN:VEVENT\nUID:1\nSUMMARY:Lunch\nDTSTART:20250304T120000Z\nEND:VEVENT\n";
    const ViewPage page = pageOf(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/calendar; "
        "method=REQUEST\n\nMETHOD:REQUEST\n" +
        calendar + "--b\nContent-Type: application/ics; name=i.ics\n\n" + calendar + "--b--");
    EXPECT_EQ(countOf(page, "class=\"event\""), size_t{1});
    EXPECT_TRUE(has(page, "Tuesday, 4 March 2025, 12:00 (UTC)"));
    EXPECT_TRUE(has(page, "download=\"i.ics\""));
}

TEST_F(MimePage, DefectsAreSaidInWords) {
    const ViewPage page =
        pageOf("Content-Type: text/plain; charset=x-none\nContent-Transfer-Encoding: base64\n\n!!!=C3=A9\n");
    EXPECT_TRUE(has(page, "unknown charset; the text was not converted"));
    ASSERT_FALSE(page.warnings.empty());
    EXPECT_TRUE(has(pageOf("Content-Type: multipart/mixed; boundary=b\n\n--b\n\nx"),
                    "cut off, the closing delimiter is missing; the last part may be incomplete"));
    EXPECT_TRUE(pageOf("Subject: fine\n\ntext\n").warnings.empty());
}

TEST_F(MimePage, HeaderValuesAreText) {
    const ViewPage page =
        pageOf("Subject: <b>s</b>\nFrom: \"<i>\" <a@\"<u>>\nTo: =?utf-8?q?=3Cscript=3E?= <t@x>\n\ntext");
    for (const char* tag : {"<b>", "<i>", "<u>", "<script>"}) EXPECT_FALSE(has(page, tag)) << tag;
    EXPECT_EQ(page.summary.subject, "<b>s</b>");
}

TEST_F(MimePage, DatesKeepTheClockOfTheSender) {
    const ViewPage page = pageOf("Date: Tue, 4 Mar 2025 00:15:22 +0530\n\nx");
    EXPECT_TRUE(has(page, "Tuesday, 4 March 2025, 00:15 (+05:30)"));
    EXPECT_EQ(page.summary.date, "2025-03-04 00:15");
    EXPECT_EQ(page.summary.seconds, 1741027522);
    EXPECT_TRUE(has(pageOf("Date: never\n\nx"), "<dd>never</dd>"));
}

// The rule of `eml show`.
TEST_F(MimePage, TextWithoutACharsetIsGuessed) {
    EXPECT_TRUE(
        has(pageOf("Content-Type: text/html\n\n<meta charset=koi8-r>\xF0\xD2\xC9\xD7\xC5\xD4"), "Привет"));
    if (!emltool::guessesCharsets()) return;
    const std::string bytes =
        "\xD1\xFA\xE5\xF8\xFC \xE6\xE5 \xE5\xF9\xB8 \xFD\xF2\xE8\xF5 \xEC\xFF\xE3\xEA\xE8\xF5 "
        "\xF4\xF0\xE0\xED\xF6\xF3\xE7\xF1\xEA\xE8\xF5 \xE1\xF3\xEB\xEE\xEA";
    EXPECT_TRUE(has(pageOf("Subject: s\n\n" + bytes), "Съешь же ещё этих мягких французских булок"));
    EXPECT_TRUE(has(pageOf("Content-Type: text/html\n\n<p>" + bytes), "Съешь же ещё"));
}

TEST(Pictures, TheBeginningDecides) {
    using emltool::pictureType;
    EXPECT_EQ(pictureType("\x89PNG\r\n\x1A\nx", "image/jpeg"), "image/png");
    EXPECT_EQ(pictureType("\xFF\xD8\xFF\xE0", "application/octet-stream"), "image/jpeg");
    EXPECT_EQ(pictureType("RIFF1234WEBPVP8", "image/webp"), "image/webp");
    EXPECT_EQ(pictureType("GIF89a", "text/html"), "");
    EXPECT_EQ(pictureType("<html>", "image/png"), "");
    EXPECT_EQ(pictureType("<svg>", "image/svg+xml"), "image/svg+xml");
    EXPECT_EQ(pictureType("", "image/png"), "");
}

TEST(Site, TheListIsSafeAndNewestFirst) {
    emltool::SiteRow old{"0001.html", "a.eml", {"<b>old", "<i>x", "2024-01-01 10:00", 1704103200, 0}, ""};
    emltool::SiteRow recent{"0002.html", "b.eml", {"recent", "y", "2025-01-01 10:00", 1735725600, 3}, ""};
    emltool::SiteRow bad{"", "<u>.eml", {}, "cannot be <read>"};
    const std::string page = emltool::buildIndex("<title>", {old, bad, recent});
    for (const char* tag : {"<b>", "<i>", "<u>", "<read>", "<title><"}) {
        EXPECT_EQ(page.find(tag), std::string::npos) << tag;
    }
    EXPECT_LT(page.find("0002.html"), page.find("0001.html"));
    EXPECT_LT(page.find("0001.html"), page.find("cannot be"));
    EXPECT_NE(page.find("script-src 'sha256-"), std::string::npos);
    EXPECT_NE(page.find("2 messages, 1 more could not be read"), std::string::npos);
    EXPECT_EQ(emltool::pageName(7), "0007.html");
    EXPECT_EQ(emltool::pageName(12345), "12345.html");
}

}  // namespace
