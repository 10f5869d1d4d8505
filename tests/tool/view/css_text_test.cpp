#include "tool/view/css_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using emltool::CssFindings;
using emltool::inertDeclarations;
using emltool::inertStyleSheet;
using emltool::isImageData;

struct Row {
    std::string css;
    std::string inert;
};

TEST(CssText, NothingReachesOutside) {
    const Row rows[] = {
        {"p{margin:0}", "p{margin:0}\n"},
        {"p{background:url(http://a/b)}", "p{background:url(\"data:,\")}\n"},
        {"p{background:URL( 'http://a/b' ) no-repeat}", "p{background:url(\"data:,\") no-repeat}\n"},
        {"p{background:u\\72l(http://a)}", "p{background:url(\"data:,\")}\n"},
        {"p{background:u\\000072 l(http://a)}", "p{background:url(\"data:,\")}\n"},
        {"p{background:ur\\6c\n(http://a)}", "p{background:url(\"data:,\")}\n"},
        {"p{background:url(http://a", "p{background:url(\"data:,\")}\n"},
        {"p{background:url(\"http://a", "p{background:url(\"data:,\")}\n"},
        {"p{background:url()}", "p{background:url(\"data:,\")}\n"},
        {"p{background:image-set(\"http://a\" 1x)}", ""},
        {"p{background:-webkit-image-set(\"http://a\" 1x)}", ""},
        {"p{background:src(\"http://a\")}", ""},
        {"p{color:var(--x)}p{--x:url(http://a)}", ""},
        {"p{width:expression(alert(1));behavior:url(x);-moz-binding:url(x)}", ""},
        {"p{content:'x';cursor:url(http://a);filter:url(x);mask:url(x);src:url(x)}", ""},
        {"p{position:fixed;animation:x;transition:all}", ""},
        {"p{background:url(data:image/png;base64,AA==)}",
         "p{background:url(\"data:image/png;base64,AA==\")}\n"},
        {"@import 'http://a';p{margin:0}", "p{margin:0}\n"},
        {"@\\69mport url(http://a);p{margin:0}", "p{margin:0}\n"},
        {"@font-face{src:url(http://a)}p{margin:0}", "p{margin:0}\n"},
        {"@namespace x 'y';@charset 'z';@page{margin:0}@keyframes k{from{top:0}}p{margin:0}",
         "p{margin:0}\n"},
        {"p{margin/*b*/:0/*c", "p{margin:0}\n"},
        {"<!--p{margin:0}-->", "p{margin:0}\n"},
    };
    for (const Row& row : rows) {
        CssFindings findings;
        EXPECT_EQ(inertStyleSheet(row.css, {}, findings), row.inert) << row.css;
    }
}

TEST(CssText, WhatIsUnderstoodIsWrittenAnew) {
    const Row rows[] = {
        {"P.a > #b,[x='y' I]~i:first-child{COLOR:Red!important;margin:-1px +.5em 0}",
         "p.a > #b,[x=\"y\" i] ~ i:first-child{color:Red !important;margin:-1px +.5em 0}\n"},
        {"a:hover,b::before,c:has(d){top:0}", "a:hover{top:0}\n"},
        {"li:nth-child( 2n + 1 ){top:0}li:nth-child(odd){top:0}",
         "li:nth-child(2n+1){top:0}\nli:nth-child(2n+1){top:0}\n"},
        {".\\31 x{top:0}", ".\\31 x{top:0}\n"},
        {"@media screen and (max-width:600px){p{width:100%!important}}",
         "@media screen and (max-width:600px){p{width:100% !important}}\n"},
        {"@media a{@media b{p{top:0}}}", "@media a{@media b{p{top:0}}}\n"},
        {"p{font:12px/1.5 \"A B\",serif;width:calc(100% - 2px)}",
         "p{font:12px/1.5 \"A B\",serif;width:calc(100% - 2px)}\n"},
        {"p{color:red;;:x;y;z:;top:0}", "p{color:red;top:0}\n"},
        {"p{top:0", "p{top:0}\n"},
        {"}p{top:0}", ""},
        {"p{font-family:'a\\22 b\\\\c'}", "p{font-family:\"a\\22 b\\5c c\"}\n"},
    };
    for (const Row& row : rows) {
        CssFindings findings;
        EXPECT_EQ(inertStyleSheet(row.css, {}, findings), row.inert) << row.css;
    }
}

TEST(CssText, TheElementAroundItCannotBeEnded) {
    const char* const sheets[] = {
        "</style>",        "p{content:'</style>'}", "a\\</style>",     "'\\</style>",  "url(</style>)",
        "url('</style>')", "/*</style>*/x",         "@media </style>", "a:b(</style>", "[a='</style>']",
        "<!</style>",      "\"a\n</style>",         "<</style></styl", "\\3c/style>"};
    for (const std::string sheet : sheets) {
        CssFindings findings;
        EXPECT_EQ(inertStyleSheet(sheet, {}, findings).find("</"), std::string::npos) << sheet;
        EXPECT_EQ(inertDeclarations(sheet, {}, findings).find("</"), std::string::npos) << sheet;
    }
}

// In the page itself there is no <body> of the sender, and the element around the copy is not his.
TEST(CssText, SelectorsOfTheWholePageNameTheCopy) {
    const Row rows[] = {
        {"body{top:0}", ".eml-body{top:0}\n"},
        {"html,BODY p{top:0}", ".eml-html,.eml-body p{top:0}\n"},
        {":root{top:0}", ".eml-html{top:0}\n"},
        {".body,#html{top:0}", ".body,#html{top:0}\n"},
        {"p{font-family:body}", "p{font-family:body}\n"},
        {"[x=body]{top:0}", "[x=\"body\"]{top:0}\n"},
        {"@media (max-width:1px){body{top:0}}body{top:0}",
         "@media (max-width:1px){.eml-body{top:0}}\n.eml-body{top:0}\n"},
        {"@import x;body{top:0}", ".eml-body{top:0}\n"},
        {":host{top:0}:host(p){top:0}", ""},
    };
    for (const Row& row : rows) {
        CssFindings findings;
        EXPECT_EQ(inertStyleSheet(row.css, {}, findings), row.inert) << row.css;
    }
}

TEST(CssText, CountsWhatIsAskedFor) {
    CssFindings findings;
    inertStyleSheet("@import 'x';p{background:url(https://a);color:red}b{background:url(cid:1)}", {},
                    findings);
    EXPECT_EQ(findings.remote, size_t{2});
    EXPECT_EQ(findings.unresolved, size_t{1});
    EXPECT_TRUE(findings.colours);
    EXPECT_FALSE(findings.dark);
}

TEST(CssText, OnlyPicturesAreData) {
    struct Url {
        const char* url;
        bool isImage;
    };
    const Url rows[] = {
        {"data:image/png;base64,AA+/=", true},
        {"DATA:IMAGE/GIF;base64,AA", true},
        {"data:image/svg+xml;base64,AA", false},
        {"data:text/html,x", false},
        {"data:image/png,\"", false},
        {"data:image/png,)", false},
        {"data:image/png, x", false},
        {"data:image/png", false},
        {"http://a", false},
        {"", false},
    };
    for (const Url& row : rows) EXPECT_EQ(isImageData(row.url), row.isImage) << row.url;
}

}  // namespace
