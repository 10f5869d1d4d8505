#include "tool/view/inert_html.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using emltool::BlockedContent;
using emltool::escapeHtml;
using emltool::makeInert;
using namespace std::string_literals;

TEST(InertHtml, RenamesElementsThatNoPolicyReaches) {
    struct Row {
        std::string html;
        std::string inert;
    };
    const Row rows[] = {
        {"<link rel=preconnect href=http://x>", "<x-link rel=preconnect href=http://x>"},
        {"<LINK>", "<x-LINK>"},
        {"<Meta\nhttp-equiv=refresh>", "<x-Meta\nhttp-equiv=refresh>"},
        {"<base/href=x>", "<x-base/href=x>"},
        {"</link>", "</x-link>"},
        {"<<link>", "<<x-link>"},
        {"<link", "<x-link"},
        {"<lin\0k>"s, "<x-link>"},
        {"<\0link>"s, "<x-link>"},
        {"<linked>", "<linked>"},
        {"<basefont>", "<basefont>"},
        {"< link>", "< link>"},
        {"<iframe src=http://x></iframe>", "<x-iframe src=http://x></x-iframe>"},
        {"<A HREF=http://x>y</A>", "<x-A HREF=http://x>y</x-A>"},
        {"<abbr>", "<abbr>"},
        {"<b>bold</b>", "<b>bold</b>"},
        {"", ""},
        {"<", "<"},
        {"</", "</"},
    };
    for (const Row& row : rows) EXPECT_EQ(makeInert(row.html).html, row.inert) << row.html;
}

// Elements that open connections, hold other pages or send something, in whatever way the name ends.
TEST(InertHtml, EveryElementThatReachesOutsideLosesItsName) {
    const char* const names[] = {"a",      "applet", "area",        "base",     "embed", "form",   "frame",
                                 "iframe", "link",   "fencedframe", "frameset", "meta",  "object", "portal"};
    for (const std::string name : names) {
        for (const char* end : {"", " ", "\t", "\r", "\n", "\f", "/", ">"}) {
            EXPECT_EQ(makeInert("<" + name + end).html, "<x-" + name + end);
            EXPECT_EQ(makeInert("</" + name + end).html, "</x-" + name + end);
        }
        EXPECT_EQ(makeInert("<" + name + "z>").html, "<" + name + "z>");
    }
}

TEST(InertHtml, CountsWhatTheMessageAsksFor) {
    struct Row {
        const char* html;
        size_t scripts, remote, inlineImages, forms;
    };
    const Row rows[] = {
        {"<script>1</script><SCRIPT src=x>", 2, 0, 0, 0},
        {"<scripted>", 0, 0, 0, 0},
        {"<img src=http://a/b>", 0, 1, 0, 0},
        {"<img SRC = \"HTTPS://a\">", 0, 1, 0, 0},
        {"<img src='//a'>", 0, 1, 0, 0},
        {"<img src=ftp://a>", 0, 1, 0, 0},
        {"<img\tsrc=http://a>", 0, 1, 0, 0},
        {"<img\rsrc=http://a>", 0, 1, 0, 0},
        {"<img\nsrc=http://a>", 0, 1, 0, 0},
        {"<img\fsrc=http://a>", 0, 1, 0, 0},
        {"<img/src=http://a>", 0, 1, 0, 0},
        {"<img alt=\"\"src=http://a>", 0, 1, 0, 0},
        {"<img alt=''src=http://a>", 0, 1, 0, 0},
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
        {"<style>@import url( 'http://a')</style>", 0, 1, 0, 0},
        {"<form action=x>", 0, 0, 0, 1},
        {"<link rel=stylesheet href=http://a>", 0, 1, 0, 0},
        {"<a href=http://a>a link loads nothing by itself</a>", 0, 0, 0, 0},
        {"the source=http://a of it", 0, 0, 0, 0},
        {"mysrc=http://a", 0, 0, 0, 0},
    };
    for (const Row& row : rows) {
        BlockedContent blocked = makeInert(row.html).blocked;
        EXPECT_EQ(blocked.scripts, row.scripts) << row.html;
        EXPECT_EQ(blocked.remote, row.remote) << row.html;
        EXPECT_EQ(blocked.inlineImages, row.inlineImages) << row.html;
        EXPECT_EQ(blocked.forms, row.forms) << row.html;
    }
    EXPECT_FALSE(makeInert("<p>nothing</p>").blocked.any());
}

TEST(InertHtml, EscapedTextStaysText) {
    EXPECT_EQ(escapeHtml("<a b=\"c\" d='e'>&amp;"), "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;");
    EXPECT_EQ(escapeHtml("\0x"s), "x");
}

}  // namespace
