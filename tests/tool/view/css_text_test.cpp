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
        {"p{margin:0}", "p{margin:0}"},
        {"p{background:url(http://a/b)}", "p{background:url(\"data:,\")}"},
        {"p{background:URL( 'http://a/b' ) no-repeat}", "p{background:url(\"data:,\") no-repeat}"},
        {"p{background:u\\72l(http://a)}", "p{background:url(\"data:,\")}"},
        {"p{background:u\\000072 l(http://a)}", "p{background:url(\"data:,\")}"},
        {"p{background:ur\\6c\n(http://a)}", "p{background:url(\"data:,\")}"},
        {"p{background:url(http://a", "p{background:url(\"data:,\")"},
        {"p{background:url(\"http://a", "p{background:url(\"data:,\")"},
        {"p{background:url()}", "p{background:url(\"data:,\")}"},
        {"p{background:image-set(\"http://a\" 1x)}", "p{background:x-image-set(\"http://a\" 1x)}"},
        {"p{background:url(data:image/png;base64,AA==)}",
         "p{background:url(\"data:image/png;base64,AA==\")}"},
        {"@import 'http://a';p{}", "@x-import 'http://a';p{}"},
        {"@\\69mport url(http://a);", "@x-import url(\"data:,\");"},
        {"@font-face{src:url(http://a)}", "@x-font-face{src:url(\"data:,\")}"},
        {"a/*b*/c", "a c"},
        {"a/*b", "a "},
        {"<!--p{}-->", "p{}"},
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
        {"body{margin:0}", ".eml-body{margin:0}"},
        {"html,BODY p{}", ".eml-html,.eml-body p{}"},
        {":root{}", ".eml-html{}"},
        {".body,#html{}", ".body,#html{}"},
        {"p{font-family:body}", "p{font-family:body}"},
        {"[x=body]{}", "[x=body]{}"},
        {"@media (max-width:1px){body{}}body{}", "@media (max-width:1px){.eml-body{}}.eml-body{}"},
        {"@page{margin:0}body{}", "@page{margin:0}.eml-body{}"},
        {"@import x;body{}", "@x-import x;.eml-body{}"},
        {"p{}}body{}", "p{}}.eml-body{}"},
        {":host{}:host(p){}", ":x-host{}:x-host(p){}"},
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
