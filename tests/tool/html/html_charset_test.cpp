#include "tool/html/html_charset.h"

#include <gtest/gtest.h>

#include "tool/html/html_parser.h"

namespace emltool {
namespace {

TEST(HtmlCharset, IsThatOfTheFirstMeta) {
    if (!readsHtml()) GTEST_SKIP() << htmlLack();
    struct Row {
        const char* html;
        const char* charset;
    };
    const Row rows[] = {
        {"<meta charset=KOI8-R>", "koi8-r"},
        {"<META http-equiv=Content-Type content='text/html; charset=windows-1251'>", "windows-1251"},
        {"<meta content='text/html'><meta charset=\"x\">", "x"},
        {"<!-- <meta charset=x> -->", ""},
        {"charset=x", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(metaCharset(row.html), row.charset) << row.html;
}

}  // namespace
}  // namespace emltool
