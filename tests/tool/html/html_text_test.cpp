#include "tool/html/html_text.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tool/html/html_document.h"
#include "tool/html/html_parser.h"
#include "tool/html/nesting_limit.h"

namespace emltool {
namespace {

using Lines = std::vector<std::string>;

Lines htmlToLines(std::string_view html, LinkStyle links = LinkStyle::kFootnotes) {
    Lines lines;
    const std::string text = textOfHtml(html, links).text;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        EXPECT_NE(end, std::string::npos) << "each line has its end";
        lines.push_back(text.substr(at, end - at));
        at = std::min(end, text.size() - 1) + 1;
    }
    return lines;
}

// The same without a process of its own for each.
Lines linesHere(std::string_view html) {
    HtmlTree tree;
    EXPECT_EQ(parseWithLibrary(limitNesting(html).html, tree), HtmlResult::kRead) << html;
    Lines lines;
    std::istringstream text(documentText(readHtml(tree).content, LinkStyle::kFootnotes));
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

// Without the library, which there is rarely for 32 bits.
class HtmlToLines : public testing::Test {
  protected:
    void SetUp() override {
        if (!readsHtml()) GTEST_SKIP() << htmlLack();
    }
};

TEST_F(HtmlToLines, FollowsItsRules) {
    struct {
        const char* rule;
        std::string html;
        Lines lines;
    } const cases[] = {
        {"nothing", "", {}},
        {"text alone", "hello", {"hello"}},
        {"white space is folded", "  a \r\n\t b  ", {"a b"}},
        {"only white space is nothing", " \r\n ", {}},
        {"tags inside a line are left out", "a <b>bold</b> <i>word</i>", {"a bold word"}},
        {"names of tags in any case", "a<BR>b<Br/>c", {"a", "b", "c"}},
        {"blocks are lines", "<div>a</div><div>b</div>c", {"a", "b", "c"}},
        {"a paragraph leaves an empty line", "<p>a</p><p>b</p>", {"a", "", "b"}},
        {"never two empty lines, none at the ends",
         "<p></p><p>a</p><p></p><p> </p><p>b</p><p></p>",
         {"a", "", "b"}},
        {"items have a mark", "<ul><li>one</li><li> two<li></li></ul>", {"* one", "* two"}},
        {"cells are kept apart",
         "<table><tr><td>a</td><td>b</td></tr><tr><th>c</th></tr></table>",
         {"a  b", "c"}},
        {"scripts and styles are no text", "a<script>if (x<y) z();</script>b<style>p{}</style>c", {"abc"}},
        {"the head is no text", "<html><head><title>T</title></head><body>a</body></html>", {"a"}},
        {"another element whose name begins alike", "<head></head>a<header>b</header>", {"a", "b"}},
        {"an end in any case", "<SCRIPT>x</ScRiPt >a", {"a"}},
        {"a style sheet without end", "a<style>b</b>c", {"a"}},
        {"comments are no text", "a<!-- <p>x -->b", {"ab"}},
        {"a comment without end", "a<!-- b", {"a"}},
        {"declarations are no text", "<!DOCTYPE html><?xml version=\"1.0\"?>a", {"a"}},
        {"a tag without end", "a<b", {"a"}},
        {"a sign that begins no tag", "1 < 2 <3 <", {"1 < 2 <3 <"}},
        {"entities", "&lt;a&gt; &amp;&quot;&apos; &euro;&auml;", {"<a> &\"' €ä"}},
        {"entities that have no end", "&copy 2025 &amp&lt", {"© 2025 &<"}},
        {"all names of entities",
         "Caf&eacute; &laquo;x&raquo; &hearts; &CounterClockwiseContourIntegral;",
         {"Café «x» ♥ ∳"}},
        {"entities by number", "&#65;&#x42;&#X43;&#8364;&#128512;", {"ABC€😀"}},
        {"entities are read once", "&amp;lt;", {"&lt;"}},
        {"a blank that does not break folds too", "a&nbsp;&nbsp; b", {"a b"}},
        {"unknown entities stay", "&unknown; &x &; & &#; &#x;", {"&unknown; &x &; & &#; &#x;"}},
        {"numbers of no character", "&#xD800;&#x110000;&#99999999999;&#-65;", {"\uFFFD\uFFFD\uFFFD&#-65;"}},
        {"the last character of all", "&#x10FFFF;", {"\U0010FFFF"}},
        {"joiners between letters stay", "می&zwnj;خواهم", {"می\u200cخواهم"}},
        {"joiners elsewhere are fillers", "a &zwnj;&nbsp;&zwnj; b&zwj;", {"a b"}},
        {"what nobody sees is no letter", "a&shy;b&#8203;c&#xFEFF;d", {"abcd"}},
        {"bytes of UTF-8 stay", "<p>日本 – ü</p>", {"日本 – ü"}},
    };
    for (const auto& c : cases) EXPECT_EQ(htmlToLines(c.html), c.lines) << c.rule;
}

TEST_F(HtmlToLines, LaysOutListsQuotesAndTables) {
    struct {
        const char* rule;
        std::string html;
        Lines lines;
    } const cases[] = {
        {"lists in lists", "<ul><li>a<ul><li>b</ul><li>c</ul>", {"* a", "  * b", "* c"}},
        {"ordered lists count", "<ol start=9><li>a<li>b</ol>", {"9. a", "10. b"}},
        {"further lines of an item stand below its text", "<ul><li>a<br>b</ul>", {"* a", "  b"}},
        {"quotes", "a<blockquote>b<blockquote>c</blockquote></blockquote>", {"a", "", "> b", ">", "> > c"}},
        {"simple tables are columns",
         "<table><tr><th>Name<th>Price<tr><td>Tea<td>3<tr><td>Coffee<td>12</table>",
         {"Name    Price", "Tea     3", "Coffee  12"}},
        {"wide characters count twice",
         "<table><tr><td>日本<td>a<tr><td>b<td>c</table>",
         {"日本  a", "b     c"}},
        {"tables that lay out are text", "<table><tr><td><p>a<p>b<td><p>c</table>", {"a", "", "b", "c"}},
        {"preformatted text keeps its blanks", "<pre>a\n  b</pre>", {"a", "  b"}},
        {"lines end where they should", "<div style='white-space:pre-line'>a\nb</div>", {"a", "b"}},
        {"an empty line that is written", "<div>a</div><div><br></div><div>b</div>", {"a", "", "b"}},
        {"two breaks are an empty line", "a<br><br>b", {"a", "", "b"}},
        {"pictures are their words", "<img alt='A cat' src=x> <img alt='' src=y><img src=z>", {"[A cat]"}},
        {"pictures of one pixel are none", "a<img alt=x width=1 height=1>", {"a"}},
        {"rules", "a<hr>b", {"a", "", "----------", "", "b"}},
    };
    for (const auto& c : cases) EXPECT_EQ(htmlToLines(c.html), c.lines) << c.rule;
}

TEST_F(HtmlToLines, TellsWhereLinksLead) {
    struct {
        const char* rule;
        LinkStyle links;
        std::string html;
        Lines lines;
    } const cases[] = {
        {"footnotes",
         LinkStyle::kFootnotes,
         "<a href=http://a.example/x>b</a> c",
         {"b [1] c", "", "[1] http://a.example/x"}},
        {"a target has one number",
         LinkStyle::kFootnotes,
         "<a href=http://a>b</a> <a href=http://a>c</a>",
         {"b [1] c [1]", "", "[1] http://a"}},
        {"in the line", LinkStyle::kInline, "<a href=http://a>b</a> c", {"b <http://a> c"}},
        {"not at all", LinkStyle::kNone, "<a href=http://a>b</a> c", {"b c"}},
        {"a text that names its target",
         LinkStyle::kInline,
         "<a href=https://a.example/>https://a.example</a> <a href='mailto:x@y.example'>x@y.example</a> "
         "<a href=https://www.a.example/>a.example</a>",
         {"https://a.example x@y.example a.example"}},
        {"a text that names another",
         LinkStyle::kInline,
         "<a href=https://evil.example/>https://bank.example</a>",
         {"https://bank.example <https://evil.example/>"}},
        {"places in the message and scripts are none",
         LinkStyle::kInline,
         "<a href=#top>a</a> <a href=javascript:x()>b</a> <a href='java&#10;script:x()'>c</a> <a "
         "href=file:///x>d</a>",
         {"a b c d"}},
        {"blanks and line ends",
         LinkStyle::kInline,
         "<a href=' ht&#10;tp://a/b c '>x</a>",
         {"x <http://a/b%20c>"}},
        {"without scheme", LinkStyle::kInline, "<a href=//a.example/b>x</a>", {"x <https://a.example/b>"}},
        {"around a block",
         LinkStyle::kInline,
         "<a href=http://a><div>b</div><div>c</div></a>",
         {"b <http://a>", "c <http://a>"}},
    };
    for (const auto& c : cases) EXPECT_EQ(htmlToLines(c.html, c.links), c.lines) << c.rule;
}

TEST_F(HtmlToLines, ReportsApartWhatNobodySees) {
    const HtmlText read = textOfHtml(
        "<p>Hello</p><div style=display:none>one  two</div><p style='color:#fff'>three</p><font "
        "size=1>four</font>");
    EXPECT_EQ(read.text, "Hello\n\nfour\n");
    EXPECT_EQ(read.hidden, "one two\nthree\n");
    ASSERT_EQ(read.warnings.size(), size_t{1});
    EXPECT_EQ(read.warnings[0].code, "hidden-text");
    EXPECT_EQ(read.warnings[0].text, "its HTML hides more text (11 characters) than it shows (9)");
    const HtmlText fewer = textOfHtml("<p>Hello Anna</p><div hidden>one</div>");
    EXPECT_EQ(fewer.hidden, "one\n");
    EXPECT_TRUE(fewer.warnings.empty());
    // Unicode has letters that no program draws.
    EXPECT_EQ(textOfHtml("<p>Hello&#xE0068;&#xE0069;").hidden, "hi\n");
    EXPECT_EQ(textOfHtml("<p>&#x1F3F4;&#xE0067;&#xE007F;").hidden, "") << "a flag";
}

TEST_F(HtmlToLines, TellsWhatWasLeftOut) {
    std::string deep;
    for (size_t i = 0; i < 2000; ++i) deep += "<div>";
    const HtmlText read = textOfHtml(deep + "x");
    EXPECT_EQ(read.text, "x\n");
    ASSERT_EQ(read.warnings.size(), size_t{1});
    EXPECT_EQ(read.warnings[0].code, "html-too-deep");
    std::string rules;
    for (size_t i = 0; i < 4000; ++i) rules += "p p p p p p p p p p p p p p i{color:red}";
    std::string nested;
    for (size_t i = 0; i < 400; ++i) nested += "<div><i>a</i>";
    const HtmlText styled = textOfHtml("<style>" + rules + "</style>" + nested);
    EXPECT_TRUE(styled.warnings.empty() || styled.warnings[0].code == "html-styles");
}

TEST_F(HtmlToLines, ReadsEachByteAFewTimesAtMost) {
    // Where something is missing it must not be looked for again and again, or the work grows with the square.
    constexpr size_t kMany = 100000;
    EXPECT_EQ(htmlToLines(std::string(kMany, '&')), Lines{std::string(kMany, '&')});
    std::string open;
    for (size_t i = 0; i < kMany; ++i) open += "<style></b>";
    EXPECT_EQ(htmlToLines(open), Lines{});
    for (const char* tag :
         {"<div>", "<b>", "<font a=1>", "<table>", "<svg>", "<p>", "<a>", "<ul><li>", "</div>",
          "<div><object></div></object>", "<b><div></b>", "<select>", "<button>", "<x>"}) {
        std::string many;
        while (many.size() < kMany) many += tag;
        EXPECT_EQ(htmlToLines("a" + many + "b").empty(), false) << tag;
    }
    std::string attributes = "<p";
    for (size_t i = 0; i < kMany / 8; ++i) attributes += " a" + std::to_string(i);
    EXPECT_EQ(htmlToLines(attributes + ">x"), Lines{"x"});
    EXPECT_EQ(htmlToLines(std::string(kMany, '<') + "p"), Lines{std::string(kMany - 1, '<')});
}

TEST_F(HtmlToLines, TakesAnyPieces) {
    const std::string pieces[] = {"<",        ">", "</", "<!--", "-->", "<li>", "<p>",  "<script>",
                                  "</script", "&", "#",  "x",    ";",   " ",    "<td>", "\xC3"};
    for (const std::string& a : pieces) {
        for (const std::string& b : pieces) {
            for (const std::string& c : pieces) {
                const std::string html = a + b + c;
                const Lines lines = linesHere(html);
                for (size_t i = 0; i < lines.size(); ++i) {
                    const bool bothEmpty = lines[i].empty() && (i == 0 || lines[i - 1].empty());
                    ASSERT_FALSE(bothEmpty) << html;
                    ASSERT_EQ(lines[i].find_first_of("\r\n"), std::string::npos) << html;
                }
                ASSERT_TRUE(lines.empty() || !lines.back().empty()) << html;
            }
        }
    }
}

TEST(LooksLikeHtml, BeginsWithAKnownTag) {
    for (const char* html : {"<html>", "<HTML xmlns=\"x\">", " \t<!DOCTYPE html>", "<!doctype HTML", "<head>",
                             "<body bgcolor=white>", "<meta charset=utf-8>", "<div class=x>", "<p>",
                             "<p class=x>", "<table>", "<span>", "<font size=2>", "<br>", "<b>", "<h1>"}) {
        EXPECT_TRUE(looksLikeHtml(html)) << html;
    }
    for (const char* text : {"", " ", "hello <html>", "<", "<htm", "< html>", "<anna@example.org> wrote:",
                             "<pre", "<bob@example.org>", "&lt;html>", "<3", ">html"}) {
        EXPECT_FALSE(looksLikeHtml(text)) << text;
    }
}

}  // namespace
}  // namespace emltool
