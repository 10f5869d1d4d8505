#include "tool/text/rtf_text.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/text/rtf_words.h"
#include "tool/text/utf8.h"

namespace emltool {
namespace {

std::span<const uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}
std::string textOf(std::string_view rtf) { return rtfToText(bytesOf(rtf)); }

struct Case {
    std::string rtf;
    std::string text;
};

void expectTexts(std::span<const Case> cases) {
    for (const Case& one : cases) EXPECT_EQ(textOf(one.rtf), one.text) << one.rtf;
}

TEST(RtfText, KeepsTextAndLines) {
    const Case cases[] = {
        {"{\\rtf1 plain}", "plain"},
        {"{\\rtf1\\ansi\\deff0 one\\par two\\line three\\par}", "one\ntwo\nthree\n"},
        {"{\\rtf1 a\r\nb\nc}", "abc"},
        {"{\\rtf1 a\\\nb\\\r\nc\\\rd}", "a\nb\nc\nd"},
        {"{\\rtf1 a\\tab b\\page c\\sect d}", "a\tb\nc\nd"},
        {"{\\rtf1 \\trowd a\\cell b\\cell\\row c}", "a\tb\t\nc"},
        {"{\\rtf1 \\{a\\}\\\\b}", "{a}\\b"},
        {"{\\rtf1 a\\~b\\_c\\-d\\:e}", "a\u00A0b\u2011cde"},
        {"{\\rtf1 \\lquote a\\rquote  \\ldblquote b\\rdblquote\\emdash\\endash\\bullet}", "‘a’ “b”—–•"},
        {"{\\rtf1 {\\b bold}{\\i  blank}\\b0 .}", "bold blank."},
        {"{\\rtf1 a\\fs-24b\\fs24 c}", "abc"},
        {"{\\rtf1 a\\unknownword12 b}", "ab"},
        {"{\\rtf1 a{b{c}d}e}", "abcde"},
        {"{\\rtf1 a\\v hidden\\v0 b{\\v hidden}c\\v hidden\\plain d}", "abcd"},
        {"{\\rtf1 end}after it}", "end"},
        {"{\\rtf1 not closed", "not closed"},
        {"{\\rtf1 {{{not closed", "not closed"},
        {"{\\rtf1 a\\", "a"},
        {"{\\rtf1 a\\'", "a"},
        {"{\\rtf1 a\\'4", "a"},
        {"{\\rtf1 a\\'4x}", "ax"},
        {"{\\rtf1 a\\-", "a"},
        {"{\\rtf1 a\\par-}", "a\n-"},
        {std::string("{\\rtf1 a\0b}", 11), "ab"},
        {"{\\rtf", ""},
        {"{\\rtf1}", ""},
        {"plain text", ""},
        {"{\\rt", ""},
        {"", ""},
    };
    expectTexts(cases);
}

TEST(RtfText, DropsWhatIsNoText) {
    const Case cases[] = {
        {"{\\rtf1{\\fonttbl{\\f0\\fswiss Arial;}{\\f1 Times;}}a}", "a"},
        {"{\\rtf1{\\fonttbl\\f0\\fnil Arial;}a}", "a"},
        {"{\\rtf1{\\colortbl;\\red0\\green0\\blue255;}a}", "a"},
        {"{\\rtf1{\\stylesheet{\\s0 Normal;}}a}", "a"},
        {"{\\rtf1{\\info{\\author somebody}{\\title A title}}a}", "a"},
        {"{\\rtf1{\\pict\\pngblip 89504e47}a}", "a"},
        {"{\\rtf1{\\*\\generator Some program;}a}", "a"},
        {"{\\rtf1{\\*\\whatever 1 {deeper}}a}", "a"},
        {"{\\rtf1{\\header Page 1}{\\footerr 2}a}", "a"},
        {"{\\rtf1{\\field{\\*\\fldinst HYPERLINK \"http://example.net\"}{\\fldrslt here}}.}", "here."},
        {"{\\rtf1{\\object\\objemb{\\*\\objdata 0105}{\\result{\\pict 00}seen}}}", "seen"},
        {"{\\rtf1{\\*\\htmltag64 <p>}a}", "a"},
        {"{\\rtf1 a\\bin3 }}}b}", "ab"},
        {"{\\rtf1 a\\bin-3 b}", "ab"},
        {"{\\rtf1 a\\bin99999 b}", "a"},
        {"{\\rtf1 a\\bin2147483648 b}", "a"},
        {"{\\rtf1 a\\bin99999999999999999999 b}", "a"},
    };
    expectTexts(cases);
}

TEST(RtfText, ReadsBytesInTheirCodePage) {
    const std::string fonts =
        "{\\fonttbl{\\f0\\fcharset0 A;}{\\f1\\fcharset204 B;}{\\f2\\fcharset128 C;}{\\f3\\fcharset238 D;}"
        "{\\f4\\cpg866 E;}{\\f5\\fcharset2 F;}{\\f6 G;}{\\f7\\fcharset134 H;}{\\f8\\fcharset129 I;}}";
    const Case cases[] = {
        {"{\\rtf1\\ansi \\'e4\\'80}", "ä€"},
        {"{\\rtf1 \\'E4}", "ä"},
        {"{\\rtf1 \xE4}", "ä"},
        {"{\\rtf1\\ansi\\ansicpg1251 \\'ef\\'f0\\'e8\\'e2\\'e5\\'f2}", "привет"},
        {"{\\rtf1\\ansi\\ansicpg932 \\'83\\'65\\'83X\\'83\\'67}", "テスト"},
        {"{\\rtf1\\ansi\\ansicpg932 \\'83\\\\}", "ソ"},
        {"{\\rtf1\\ansi\\ansicpg65001 \\'c3\\'a4}", "ä"},
        {"{\\rtf1\\ansi\\ansicpg99999 \\'e4}", "ä"},
        {"{\\rtf1\\mac \\'8a}", "ä"},
        {"{\\rtf1\\pc \\'84}", "ä"},
        {"{\\rtf1\\pca \\'84}", "ä"},
        {"{\\rtf1\\ansi\\ansicpg1251" + fonts + "\\'e4}", "ä"},  // by the default font
        {"{\\rtf1\\ansi\\ansicpg1251\\deff6" + fonts + "\\'e4}", "д"},
        {"{\\rtf1\\ansi" + fonts + "\\f1 \\'e4\\f0 \\'e4}", "дä"},
        {"{\\rtf1\\ansi" + fonts + "{\\f1 \\'e4}\\'e4}", "дä"},
        {"{\\rtf1\\ansi" + fonts + "\\f1 \\'e4\\plain \\'e4}", "дä"},
        {"{\\rtf1\\ansi" + fonts + "\\f2 \\'83\\'65\\f3 \\'b3\\f4 \\'a4\\f5 a\\f6 \\'e4}", "テłдaä"},
        {"{\\rtf1\\ansi" + fonts + "\\f7 \\'c4\\'e3\\f8 \\'b0\\'a1}", "你가"},
        {"{\\rtf1\\ansi" + fonts + "\\f99 \\'e4}", "ä"},
        {"{\\rtf1\\ansi\\ansicpg932 \\'83}", "\uFFFD"},
    };
    expectTexts(cases);
}

TEST(RtfText, ReadsCharactersByNumber) {
    const Case cases[] = {
        {"{\\rtf1 \\u8364?}", "€"},
        {"{\\rtf1 \\u8364 ?a}", "€a"},
        {"{\\rtf1 \\u8364\\'80a}", "€a"},
        {"{\\rtf1\\uc0 \\u8364 a}", "€a"},
        {"{\\rtf1\\uc2 \\u20320\\'c4\\'e3a}", "你a"},
        {"{\\rtf1{\\uc0 \\u8364 a}\\u8364?b}", "€a€b"},
        {"{\\rtf1 \\u-10179?\\u-8704?}", "😀"},
        {"{\\rtf1 \\u55357?\\u56832?}", "😀"},
        {"{\\rtf1 \\u55357?a}", "\uFFFDa"},
        {"{\\rtf1 \\u56832?a}", "\uFFFDa"},
        {"{\\rtf1 \\u128512?a}", "😀a"},
        {"{\\rtf1 \\u9999999999?a}", "\uFFFDa"},
        {"{\\rtf1 \\u-40000?a}", "\uFFFDa"},
        {"{\\rtf1 \\u8220\\ldblquote a}", "“a"},
        {"{\\rtf1 \\u8364\\par a}", "€\na"},
        {"{\\rtf1 \\u8364\\u8364?}", "€€"},
        {"{\\rtf1 \\u8364\\b ?a}", "€a"},
        {"{\\rtf1 {\\u8364}a}", "€a"},
        {"{\\rtf1 \\u8364\\bin2 }}a}", "€a"},
        {"{\\rtf1\\uc99999 \\u8364 abc}", "€"},
        {"{\\rtf1\\uc-1 \\u8364 a}", "€a"},
    };
    expectTexts(cases);
}

constexpr std::string_view kHtml =
    "{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 \\deff0{\\fonttbl\r\n{\\f0\\fswiss Arial;}{\\f1\\fcharset204 "
    "Arial;}}\r\n{\\*\\htmltag19 <html>}{\\*\\htmltag2 \\par }{\\*\\htmltag64 <p class=\\'e4>}\\htmlrtf "
    "{\\htmlrtf0 "
    "Caf\\'e9 {\\*\\htmltag84 &lt;}\\htmlrtf <\\htmlrtf0 \\f1\\'e4\\htmlrtf\\par}\\htmlrtf0\r\n"
    "{\\*\\mhtmltag64 <p other>}{\\*\\htmltag72 </p>}\\u8364?{\\*\\htmltag27 </html>}}";

TEST(RtfText, GivesTheHtmlBackThatItWasMadeOf) {
    std::optional<std::string> html = htmlInRtf(bytesOf(kHtml));
    ASSERT_TRUE(html);
    EXPECT_EQ(*html, "<html>\n<p class=ä>Café &lt;д</p>€</html>");
    EXPECT_EQ(textOf(kHtml), "") << "its text is that of the HTML";

    EXPECT_FALSE(htmlInRtf(bytesOf("{\\rtf1 a}")));
    EXPECT_FALSE(htmlInRtf(bytesOf("{\\rtf1\\fromhtml0 a}")));
    EXPECT_FALSE(htmlInRtf(bytesOf("{\\rtf1 \\\\fromhtml1 a}"))) << "it is text";
    EXPECT_FALSE(htmlInRtf(bytesOf("{\\rtf1 a\\fromhtml1 b}"))) << "after text it says nothing";
    EXPECT_FALSE(htmlInRtf(bytesOf("{\\rtf1\\ansi\\fromtext a}")));
    EXPECT_FALSE(htmlInRtf({}));
    EXPECT_EQ(htmlInRtf(bytesOf("{\\rtf1\\fromhtml1 a\\htmlrtf b{c}\\htmlrtf0 d}")), "ad");
    EXPECT_EQ(htmlInRtf(bytesOf("{\\rtf1\\fromhtml1 a{\\htmlrtf b}c}")), "ac");
    EXPECT_EQ(textOf("{\\rtf1 a\\htmlrtf b\\htmlrtf0 c}"), "abc") << "it was not made of HTML";
}

TEST(RtfText, TakesAnyDepth) {
    constexpr size_t kDepth = 100000;
    EXPECT_EQ(textOf("{\\rtf1 " + std::string(kDepth, '{') + "a" + std::string(kDepth, '}') + "b}"), "ab");
    EXPECT_EQ(textOf("{\\rtf1 " + std::string(kDepth, '{')), "");
    EXPECT_EQ(textOf("{\\rtf1 a" + std::string(kDepth, '}')), "a");
    std::string fonts = "{\\rtf1{\\fonttbl";
    for (int i = 0; i < 10000; ++i)
        fonts += "{\\f" + std::to_string(i) + "\\cpg" + std::to_string(i) + " x;}";
    fonts += "}";
    for (int i = 0; i < 10000; ++i) fonts += "\\f" + std::to_string(i) + "\\'41\\'e4";
    EXPECT_TRUE(isUtf8(textOf(fonts)));
}

// Whatever the bytes are, the text is valid and not much longer than they.
TEST(RtfText, IsUtf8WhateverItIsMadeOf) {
    constexpr std::array<std::string_view, 14> kTokens = {"{",
                                                          "}",
                                                          "\\",
                                                          "\\'e4",
                                                          "\\u-10179",
                                                          "\\uc2 ",
                                                          "\\f1",
                                                          "{\\fonttbl{\\f1\\fcharset128}}",
                                                          "\\htmlrtf",
                                                          "\\*",
                                                          "{\\*\\htmltag1 <",
                                                          "\\fromhtml1",
                                                          "\xFF",
                                                          "\\bin1 "};
    uint32_t state = 1;
    for (int round = 0; round < 2000; ++round) {
        std::string rtf = "{\\rtf1";
        for (int i = 0; i < 40; ++i) {
            state = state * 1664525U + 1013904223U;
            rtf += kTokens[(state >> 16) % kTokens.size()];
        }
        const std::string text = textOf(rtf);
        EXPECT_TRUE(isUtf8(text)) << rtf;
        EXPECT_LE(text.size(), 3 * rtf.size()) << rtf;
    }
}

TEST(RtfWords, AreFoundByName) {
    ASSERT_NE(findRtfWord("par"), nullptr);
    EXPECT_EQ(findRtfWord("par")->value, U'\n');
    EXPECT_EQ(findRtfWord("pard"), nullptr);
    EXPECT_EQ(findRtfWord("PAR"), nullptr) << "case counts";
    EXPECT_EQ(findRtfWord(""), nullptr);
    EXPECT_EQ(codePageOfFontCharset(204), 1251U);
    EXPECT_EQ(codePageOfFontCharset(1), std::nullopt);
    EXPECT_EQ(codePageLabel(28592), "iso-8859-2");
    EXPECT_EQ(codePageLabel(1252), "cp1252");
    EXPECT_EQ(codePageLabel(50220), "iso-2022-jp");
}

}  // namespace
}  // namespace emltool
