#include "tool/view/inert_html.h"

#include <gtest/gtest.h>

#include <string>

#include "tool/html/html_parser.h"

namespace {

using emltool::BlockedContent;
using emltool::escapeHtml;
using emltool::InertHtml;
using emltool::ReferenceFinder;
using namespace std::string_literals;

InertHtml makeInert(const std::string& html, const ReferenceFinder& find = {}) {
    const emltool::ParsedHtml parsed = emltool::parseHtml(html);
    EXPECT_EQ(parsed.problem, "");
    return emltool::makeInert(parsed.tree, find);
}

// Without the library, which there is rarely for 32 bits.
class InertHtmlTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!emltool::readsHtml()) GTEST_SKIP() << emltool::htmlLack();
    }
};

// What is inside the two elements that stand for <html> and <body>.
std::string inertOf(const std::string& html) {
    constexpr std::string_view kStart = "<div class=\"eml-html\"><div class=\"eml-body\">";
    constexpr std::string_view kEnd = "</div></div>";
    std::string inert = makeInert(html).html;
    EXPECT_TRUE(inert.starts_with(kStart) && inert.ends_with(kEnd)) << inert;
    return inert.substr(kStart.size(), inert.size() - kStart.size() - kEnd.size());
}

struct Row {
    std::string html;
    std::string inert;
};

TEST_F(InertHtmlTest, KeepsWhatLaysOutText) {
    const Row rows[] = {
        {"<b>bold</b>", "<b>bold</b>"},
        {"<P ALIGN=center>x</P>", "<p align=\"center\">x</p>"},
        {"a &amp; b &lt;c&gt; &eacute;", "a &amp; b &lt;c&gt; é"},
        {"5 > 4 \"q\"", "5 &gt; 4 &quot;q&quot;"},
        {"<br/>x<hr>", "<br>x<hr>"},
        {"<table><td width=5% nowrap>",
         "<table><tbody><tr><td width=\"5%\" nowrap=\"\"></td></tr></tbody></table>"},
        {"<td>no table</td>", "no table"},
        {"<font color='red' face=Arial>x</font>", "<font color=\"red\" face=\"Arial\">x</font>"},
        {"<o:p>x</o:p>", "<span>x</span>"},
        {"<blink>x</blink>", "<span>x</span>"},
        {"", ""},
        {"<", "&lt;"},
        {"< b>", "&lt; b&gt;"},
        {"1 <2", "1 &lt;2"},
    };
    for (const Row& row : rows) EXPECT_EQ(inertOf(row.html), row.inert) << row.html;
}

TEST_F(InertHtmlTest, LeavesOutWhatRunsLoadsSendsOrLeadsElsewhere) {
    const Row rows[] = {
        {"<link rel=preconnect href=http://x>", ""},
        {"<LINK>", ""},
        {"<Meta\nhttp-equiv=refresh>", ""},
        {"<base/href=x>", ""},
        {"</link>", ""},
        {"<<link>", "&lt;"},
        {"<link", ""},
        {"<lin\0k>"s, ""},
        {"<\0link>"s, ""},
        {"<script>alert(1)</script>x", "x"},
        {"<script>a</scripts>b</script >x", "x"},
        {"<script>never ended", ""},
        {"<title>t</title>x", "x"},
        {"<iframe src=http://x>inside</iframe>x", "x"},
        {"<noscript>x</noscript>", "<span></span>x"},
        {"<object data=http://x>other</object>x", "x"},
        {"<embed src=http://x>", ""},
        {"<video src=x poster=y>other</video>x", "x"},
        {"<svg onload=a()><image href=http://x /><text>t</text></svg>", ""},
        {"<template shadowrootmode=open>x</template>y", "y"},
        {"</template></div></main>x", "x"},
        {"<form action=http://x><input name=a><button formaction=y>Send</button></form>",
         "<section><button>Send</button></section>"},
        {"<textarea><b>x</textarea>", "<pre>&lt;b&gt;x</pre>"},
        {"<plaintext><b>x</plaintext>", "<pre>&lt;b&gt;x&lt;/plaintext&gt;</pre>"},
        {"<img src=http://x/y.png alt=A>", "<img alt=\"A\">"},
        {"<img src='//x/y.png'>", "<img>"},
        {"<img src=x onerror=alert(1)>", "<img>"},
        {"<img srcset='http://x 1x'>", "<img>"},
        {"<img src=javascript:alert(1)>", "<img>"},
        {"<img src='data:text/html,<script>1</script>'>", "<img>"},
        {"<img src='data:image/svg+xml,<svg/>'>", "<img>"},
        {"<body background=http://x onload=a()>x</body>", "x"},
        {"<p onclick=a() style='color:red'>x</p>", "<p style=\"color:red\">x</p>"},
        {"<!-- <b> --><![if mso]>x<![endif]><?xml y?>", "x"},
        {"<!--><b>x</b>-->", "<b>x</b>--&gt;"},
        {"<!-- a --!>x", "x"},
        {"<!-- never ended <b>x", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(inertOf(row.html), row.inert) << row.html;
}

TEST_F(InertHtmlTest, LinksStayLinksAndTellTheirTarget) {
    const Row rows[] = {
        {"<A HREF=http://x/y ping=z>y</A>",
         "<a href=\"http://x/y\" title=\"http://x/y\" target=\"_blank\" rel=\"noopener noreferrer "
         "nofollow\">y</a>"},
        {"<a href=\"http://x\" title=\"http://bank\">y</a>",
         "<a href=\"http://x\" title=\"http://x\" target=\"_blank\" rel=\"noopener noreferrer "
         "nofollow\">y</a>"},
        {"<a href='java&#115;cript:a(\"b\")'>y</a>", "<a title=\"javascript:a(&quot;b&quot;)\">y</a>"},
        {"<a name=top>y</a>", "<a>y</a>"},
    };
    for (const Row& row : rows) EXPECT_EQ(inertOf(row.html), row.inert) << row.html;
}

// Nothing that the sender opens stays open, and nothing that he closes is ours.
TEST_F(InertHtmlTest, EveryElementIsClosedInOrder) {
    const Row rows[] = {
        {"<b>x", "<b>x</b>"},
        {"x</b></div></body></html>", "x"},
        {"<b><i>x</b>y</i>z", "<b><i>x</i></b><i>y</i>z"},
        {"<p>a<p>b", "<p>a</p><p>b</p>"},
        {"<ul><li>a<li>b<ul><li>c</ul><li>d</ul>",
         "<ul><li>a</li><li>b<ul><li>c</li></ul></li><li>d</li></ul>"},
        {"<li><p>a<li>b", "<li><p>a</p></li><li>b</li>"},
        {"<table><tr><td>a<td>b<tr><td>c</table>d",
         "<table><tbody><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></tbody></table>d"},
        {"<table><tr><td></div></span>a</table>", "<table><tbody><tr><td>a</td></tr></tbody></table>"},
        {"<div><table><tr><td></div>a</td></tr></tbody></table>b</div>",
         "<div><table><tbody><tr><td>a</td></tr></tbody></table>b</div>"},
        {"<b><div>x</b>y</div>z", "<b></b><div><b>x</b>y</div>z"},
        {"<p>a<marquee><p>b</marquee>c", "<p>a<span><span style=\"display:block;\">b</span></span>c</p>"},
        {"<p>a<button><p>b</button>c", "<p>a<button><p>b</p></button>c</p>"},
        {"<p>a<textarea>\n\nb</textarea>",
         "<p>a<span style=\"display:block;white-space:pre;\">\nb</span></p>"},
        {"<table><form><tr><td>b</form></table>", "<table><tbody><tr><td>b</td></tr></tbody></table>"},
        {"<pre>\n\nb</pre>", "<pre>\n\nb</pre>"},
        {"<dl><dt>a<dd>b<dt>c</dl>", "<dl><dt>a</dt><dd>b</dd><dt>c</dt></dl>"},
        {"<dd>a<table><tr><i><dd>b</table>",
         "<dd>a<i><span style=\"display:block;\">b</span></i><table><tbody><tr></tr></tbody></table></dd>"},
        {"<ul><li>a<table><li>b</table></ul>",
         "<ul><li>a<span style=\"display:list-item;\">b</span><table></table></li></ul>"},
        {"<nobr>a<table><nobr>b</table>",
         "<span style=\"white-space:nowrap;\">a<span "
         "style=\"white-space:nowrap;\">b</span><table></table></span>"},
        {"<h1>a<table><h2>b", "<h1>a<span style=\"display:block;\">b</span><table></table></h1>"},
        {"<h1>a<noscript><h1>b", "<h1>a<span><h1>b</h1></span></h1>"},
        {"<a name=x>a<marquee><a name=y>b", "<a>a<span><span>b</span></span></a>"},
        {"<button>a<marquee><button>b", "<button>a<span><span>b</span></span></button>"},
        {"<ul><li>a<ul><li>b</ul></ul>", "<ul><li>a<ul><li>b</li></ul></li></ul>"},
        {"<p><table><tr><td><p>x</table>", "<p></p><table><tbody><tr><td><p>x</p></td></tr></tbody></table>"},
    };
    for (const Row& row : rows) EXPECT_EQ(inertOf(row.html), row.inert) << row.html;
}

TEST_F(InertHtmlTest, OfDeepNestingTheTextStays) {
    std::string deep;
    for (int i = 0; i < 5000; ++i) deep += "<div>";
    const std::string inert = inertOf(deep + "x");
    EXPECT_NE(inert.find('x'), std::string::npos);
    EXPECT_LT(inert.size(), size_t{6000});
}

TEST_F(InertHtmlTest, TheBodyKeepsItsColoursLanguageAndClass) {
    const InertHtml inert = makeInert(
        "<html lang=de><body bgcolor=112233 text='#eee' class='a&quot;b' style='margin:0' "
        "background=http://x>x");
    EXPECT_EQ(inert.html,
              "<div class=\"eml-html\" lang=\"de\"><div class=\"eml-body a&quot;b\" "
              "style=\"background-color:#112233;color:#eee;margin:0\">x</div></div>");
    EXPECT_TRUE(inert.hasColours);
}

TEST_F(InertHtmlTest, ReferencesInsideTheMessageBecomeData) {
    const ReferenceFinder find = [](std::string_view reference) -> std::optional<std::string> {
        if (reference == "cid:1@x" || reference == "logo.png") return "data:image/png;base64,AA";
        return std::nullopt;
    };
    struct Found {
        const char* html;
        const char* inert;
        size_t missing;
    };
    const Found rows[] = {
        {"<img src=\"cid:1@x\">", "<img src=\"data:image/png;base64,AA\">", 0},
        {"<img src='&#99;id:1@x'>", "<img src=\"data:image/png;base64,AA\">", 0},
        {"<img src=' cid:1@\nx '>", "<img>", 1},  // a blank at its end belongs to it
        {"<img src=logo.png>", "<img src=\"data:image/png;base64,AA\">", 0},
        {"<img src=cid:2@x>", "<img>", 1},
        {"<table><td background=cid:1@x>",
         "<td style=\"background-image:url(&quot;data:image/png;base64,AA&quot;);\"></td>", 0},
        {"<p style='background:url(cid:1@x)'>",
         "<p style=\"background:url(&quot;data:image/png;base64,AA&quot;)\"></p>", 0},
    };
    for (const Found& row : rows) {
        const InertHtml inert = makeInert(row.html, find);
        EXPECT_NE(inert.html.find(row.inert), std::string::npos) << inert.html;
        EXPECT_EQ(inert.blocked.missingImages, row.missing) << row.html;
    }
}

TEST_F(InertHtmlTest, StyleSheetsAreCollected) {
    const InertHtml inert = makeInert("<style>p{color:red}</style>x<style media=print>b{top:0}</STYLE>y");
    EXPECT_EQ(inert.styles, "p{color:red}\n@media print{b{top:0}}\n");
    EXPECT_NE(inert.html.find(">xy<"), std::string::npos);
    EXPECT_TRUE(inert.hasColours);
}

TEST_F(InertHtmlTest, TellsWhetherTheMailHasColoursOfItsOwn) {
    struct Found {
        const char* html;
        bool colours;
        bool dark;
    };
    const Found rows[] = {
        {"<p>x</p>", false, false},
        {"<p style='font-size:12px'>x</p>", false, false},
        {"<p style='color:red'>x</p>", true, false},
        {"<p style='background:#fff'>x</p>", true, false},
        {"<p style='border-color:red'>x</p>", false, false},
        {"<font color=red>x</font>", true, false},
        {"<table><td bgcolor=white>", true, false},
        {"<style>.color{margin:0}</style>", false, false},
        {"<style>@media (prefers-color-scheme: dark){p{margin:0}}</style>", false, true},
    };
    for (const Found& row : rows) {
        const InertHtml inert = makeInert(row.html);
        EXPECT_EQ(inert.hasColours, row.colours) << row.html;
        EXPECT_EQ(inert.hasDarkForm, row.dark) << row.html;
    }
}

TEST_F(InertHtmlTest, CountsWhatTheMessageAsksFor) {
    struct Found {
        const char* html;
        size_t scripts, remote, missing, forms;
    };
    const Found rows[] = {
        {"<script>1</script><SCRIPT src=x>", 2, 0, 0, 0},
        {"<scripted>", 0, 0, 0, 0},
        {"<p onclick=a()>", 1, 0, 0, 0},
        {"<p on>", 0, 0, 0, 0},
        {"<img src=http://a/b>", 0, 1, 0, 0},
        {"<img SRC = \"HTTPS://a\">", 0, 1, 0, 0},
        {"<img src='//a'>", 0, 1, 0, 0},
        {"<img src=ftp://a>", 0, 1, 0, 0},
        {"<img\tsrc=http://a>", 0, 1, 0, 0},
        {"<img\fsrc=http://a>", 0, 1, 0, 0},
        {"<img/src=http://a>", 0, 1, 0, 0},
        {"<img alt=\"\"src=http://a>", 0, 1, 0, 0},
        {"<img src='&#104;ttp://a'>", 0, 1, 0, 0},
        {"<img src|http://a>", 0, 0, 0, 0},
        {"<formula>", 0, 0, 0, 0},
        {"<linked href=http://a>", 0, 0, 0, 0},
        {"<img src=data:image/png;base64,AA>", 0, 0, 0, 0},
        {"<img src=\"cid:1@x\">", 0, 0, 1, 0},
        {"<img srcset='http://a 1x'>", 0, 1, 0, 0},
        {"<body background=http://a>", 0, 1, 0, 0},
        {"<video poster=http://a src=http://b>", 0, 2, 0, 0},
        {"<object data=http://a>", 0, 1, 0, 0},
        {"<p style=\"background:url(http://a)\">", 0, 1, 0, 0},
        {"<style>@import 'http://a';</style>", 0, 1, 0, 0},
        {"<style>@import url( 'http://a')</style>", 0, 1, 0, 0},
        {"<form action=x>", 0, 0, 0, 1},
        {"<link rel=stylesheet href=http://a>", 0, 1, 0, 0},
        {"<a href=http://a>a link loads nothing by itself</a>", 0, 0, 0, 0},
        {"the source=http://a of it", 0, 0, 0, 0},
        {"<!-- <img src=http://a> -->", 0, 0, 0, 0},
    };
    for (const Found& row : rows) {
        const BlockedContent blocked = makeInert(row.html).blocked;
        EXPECT_EQ(blocked.scripts, row.scripts) << row.html;
        EXPECT_EQ(blocked.remote, row.remote) << row.html;
        EXPECT_EQ(blocked.missingImages, row.missing) << row.html;
        EXPECT_EQ(blocked.forms, row.forms) << row.html;
    }
    EXPECT_FALSE(makeInert("<p>nothing</p>").blocked.any());
}

TEST_F(InertHtmlTest, EscapedTextStaysText) {
    EXPECT_EQ(escapeHtml("<a b=\"c\" d='e'>&amp;"), "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;");
    EXPECT_EQ(escapeHtml("\0x"s), "x");
}

}  // namespace
