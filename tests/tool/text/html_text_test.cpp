#include "tool/text/html_text.h"

#include <gtest/gtest.h>

namespace emltool {
namespace {

using Lines = std::vector<std::string>;

TEST(HtmlToLines, FollowsItsRules) {
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
        {"items have a mark", "<ul><li>one</li><li> two<li></li></ul>", {"* one", "* two", "*"}},
        {"cells are kept apart",
         "<table><tr><td>a</td><td>b</td></tr><tr><th>c</th></tr></table>",
         {"a b", "c"}},
        {"scripts and styles are no text", "a<script>if (x<y) z();</script>b<style>p{}</style>c", {"abc"}},
        {"the head is no text", "<html><head><title>T</title></head><body>a</body></html>", {"a"}},
        {"another element whose name begins alike", "<head>x</header>y</head>a<header>b</header>", {"ab"}},
        {"an end in any case", "<SCRIPT>x</ScRiPt >a", {"a"}},
        {"an element without end hides nothing", "<style>a</b>b", {"ab"}},
        {"comments are no text", "a<!-- <p>x -->b", {"ab"}},
        {"a comment without end", "a<!-- b", {"a"}},
        {"declarations are no text", "<!DOCTYPE html><?xml version=\"1.0\"?>a", {"a"}},
        {"a tag without end", "a<b", {"a"}},
        {"a sign that begins no tag", "1 < 2 <3 <", {"1 < 2 <3 <"}},
        {"entities", "&lt;a&gt; &amp;&quot;&apos; &euro;&auml;", {"<a> &\"' €ä"}},
        {"entities by number", "&#65;&#x42;&#X43;&#8364;&#128512;", {"ABC€😀"}},
        {"entities are read once", "&amp;lt;", {"&lt;"}},
        {"a blank that does not break folds too", "a&nbsp;&nbsp; b", {"a b"}},
        {"unknown entities stay", "&unknown; &x &; & &#; &#x; &#65", {"&unknown; &x &; & &#; &#x; &#65"}},
        {"the end of an entity is near", "&ampxxxxxxxxxxxx;", {"&ampxxxxxxxxxxxx;"}},
        {"numbers of no character stay",
         "&#0;&#31;&#xD800;&#xDFFF;&#x110000;&#99999999999;&#-65;",
         {"&#0;&#31;&#xD800;&#xDFFF;&#x110000;&#99999999999;&#-65;"}},
        {"the last character of all", "&#x10FFFF;", {"\U0010FFFF"}},
        {"bytes of UTF-8 stay", "<p>日本 – ü</p>", {"日本 – ü"}},
    };
    for (const auto& c : cases) EXPECT_EQ(htmlToLines(c.html), c.lines) << c.rule;
}

TEST(HtmlToLines, ReadsEachByteAFewTimesAtMost) {
    // Where something is missing it must not be looked for again and again, or the work grows with the square.
    constexpr size_t kMany = 1000000;
    EXPECT_EQ(htmlToLines(std::string(kMany, '&')), Lines{std::string(kMany, '&')});
    std::string open;
    for (size_t i = 0; i < kMany; ++i) open += "<style></b>";
    EXPECT_EQ(htmlToLines(open), Lines{});
    EXPECT_EQ(htmlToLines(std::string(kMany, '<') + "p"), Lines{std::string(kMany - 1, '<')});
}

TEST(HtmlToLines, TakesAnyPieces) {
    const std::string pieces[] = {"<",        ">", "</", "<!--", "-->", "<li>", "<p>",  "<script>",
                                  "</script", "&", "#",  "x",    ";",   " ",    "<td>", "\xC3"};
    for (const std::string& a : pieces) {
        for (const std::string& b : pieces) {
            for (const std::string& c : pieces) {
                for (const std::string& d : pieces) {
                    std::string html = a + b + c + d;
                    Lines lines = htmlToLines(html);
                    for (size_t i = 0; i < lines.size(); ++i) {
                        bool bothEmpty = lines[i].empty() && (i == 0 || lines[i - 1].empty());
                        ASSERT_FALSE(bothEmpty) << html;
                        ASSERT_EQ(lines[i].find_first_of("\r\n"), std::string::npos) << html;
                    }
                    ASSERT_TRUE(lines.empty() || !lines.back().empty()) << html;
                }
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
