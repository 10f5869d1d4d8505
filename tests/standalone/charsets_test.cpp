#include "standalone/charsets.h"

#include <emlreader/eml_host.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using emlhost::convert;
using emlhost::Converter;
using emlhost::findCharset;
using namespace std::string_literals;

// One text in each charset, known from the charset's own tables.
struct Sample {
    uint32_t id;
    std::string bytes;
    std::string utf8;
};

const Sample kSamples[] = {
    {EML_CHARSET_SHIFT_JIS, "\x93\xFA\x96\x7B \xB6\x87\x40", "日本 ｶ①"},
    {EML_CHARSET_GB2312, "\xD6\xD0\xB9\xFA", "中国"},
    {EML_CHARSET_BIG5, "\xA4\xA4\xA4\xE5", "中文"},
    {EML_CHARSET_KSC_5601, "\xC7\xD1\xB1\xB9\x81\x41", "한국갂"},
    {EML_CHARSET_CENTRAL_EUROPE, "\xA3\xF3\x64\x9F", "Łódź"},
    {EML_CHARSET_CYRILLIC, "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
    {EML_CHARSET_WESTERN, "caf\xE9 \x80", "café €"},
    {EML_CHARSET_GREEK, "\xC5\xEB\xEB\xDC\xE4\xE1", "Ελλάδα"},
    {EML_CHARSET_TURKISH, "\xDD\xFE\xF0\xFD", "İşğı"},
    {EML_CHARSET_HEBREW, "\xF9\xEC\xE5\xED", "שלום"},
    {EML_CHARSET_ARABIC, "\xD3\xE1\xC7\xE3", "سلام"},
    {EML_CHARSET_BALTIC, "\xC0\xE8\xE6", "Ąčę"},
    {EML_CHARSET_VIETNAMESE, "\xD0\xF5\x6E", "Đơn"},
    {EML_CHARSET_ISO_8859_3, "\xA1\xE6\xF8", "Ħĉĝ"},
    {EML_CHARSET_ISO_8859_4, "\xA1\xE8\xBF", "Ąčŋ"},
    {EML_CHARSET_ISO_8859_6, "\xD3\xE4\xC7\xE5", "سلام"},
    {EML_CHARSET_ISO_8859_8, "\xF9\xEC\xE5\xED", "שלום"},
    {EML_CHARSET_ISO_8859_9, "\xDD\xFE\xF0\xFD", "İşğı"},
    {EML_CHARSET_ISO_8859_14, "\xD0\xF0\xDE", "ŴŵŶ"},
    {EML_CHARSET_ISO_8859_15, "\xA4 \xBD", "€ œ"},
    {EML_CHARSET_DOS_862, "\x99\x8C\x85\x8D", "שלום"},
    {EML_CHARSET_TEXT_16, "\xAC\x20\x3D\xD8\x00\xDE"s, "€😀"},
    {EML_CHARSET_UTF_16, "\xAC\x20\x3D\xD8\x00\xDE"s, "€😀"},
    {EML_CHARSET_UTF_8, "\xE2\x82\xAC\xF0\x9F\x98\x80", "€😀"},
    {EML_CHARSET_UTF_7, "Hi Mom +Jjo-!", "Hi Mom ☺!"},
    {EML_CHARSET_ISO_2022_JP, "A\x1B$BF|K\\\x1B(B!", "A日本!"},
    {EML_CHARSET_EUC_JP, "\xC6\xFC\xCB\xDC\x8E\xB6", "日本ｶ"},
    {EML_CHARSET_EUC_KR, "\xC7\xD1\xB1\xB9", "한국"},
    {EML_CHARSET_ISO_8859_10, "\xA1\xE8\xBF", "Ąčŋ"},
    {EML_CHARSET_ISO_8859_13, "\xC0\xE8\xE6", "Ąčę"},
    {EML_CHARSET_GB18030, "\xD6\xD0\x94\x39\xFC\x36", "中😀"},
};

std::string toUtf8(uint32_t id, std::string_view bytes) { return convert(bytes, id, EML_CHARSET_UTF_8); }
std::string fromUtf8(uint32_t id, std::string_view text) { return convert(text, EML_CHARSET_UTF_8, id); }

TEST(Charsets, EachIdDecodesAndEncodesItsSample) {
    std::set<uint32_t> seen;
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.id);
        ASSERT_NE(findCharset(sample.id), nullptr);
        EXPECT_EQ(findCharset(sample.id)->id, sample.id);
        EXPECT_EQ(toUtf8(sample.id, sample.bytes), sample.utf8);
        if (sample.id == EML_CHARSET_UTF_7) {
            EXPECT_EQ(toUtf8(sample.id, fromUtf8(sample.id, sample.utf8)),
                      sample.utf8);  // several spellings
        } else {
            EXPECT_EQ(fromUtf8(sample.id, sample.utf8), sample.bytes);
        }
        seen.insert(sample.id);
    }
    for (uint32_t id = 0; id < 200; ++id) {
        EXPECT_EQ(findCharset(id) != nullptr, seen.contains(id)) << id;
    }
    EXPECT_EQ(seen.size(), 31u);
}

TEST(Charsets, EachIdCarriesAscii) {
    const std::string ascii = "From: a@b.example; x=\"1\"\r\n";
    for (const Sample& sample : kSamples) {
        EXPECT_EQ(toUtf8(sample.id, fromUtf8(sample.id, ascii)), ascii) << sample.id;
    }
}

TEST(Charsets, AnUnknownIdIsWestern) {
    EXPECT_EQ(toUtf8(EML_CHARSET_UNKNOWN, "\x80"), "€");
    EXPECT_EQ(fromUtf8(4711, "€"), "\x80");
}

TEST(Charsets, NarrowNamesDecodeTheWideCharset) {
    EXPECT_EQ(toUtf8(EML_CHARSET_GB2312, "\x81\x40\x94\x39\xFC\x36"), "丂😀");
    EXPECT_EQ(fromUtf8(EML_CHARSET_GB2312, "丂😀"), "\x81\x40?") << "and is written as code page 936";
    EXPECT_EQ(toUtf8(EML_CHARSET_EUC_KR, "\x81\x41"), "갂");
    EXPECT_EQ(fromUtf8(EML_CHARSET_EUC_KR, "갂"), "?");
    EXPECT_EQ(toUtf8(EML_CHARSET_EUC_JP, "\xAD\xA1"), "①");
    EXPECT_EQ(toUtf8(EML_CHARSET_BIG5, "\xA3\xE1\xF9\xD6"), "€碁");
}

TEST(Charsets, Utf16FollowsItsByteOrderMark) {
    EXPECT_EQ(toUtf8(EML_CHARSET_UTF_16, "\xFF\xFE\xAC\x20"), "€");
    EXPECT_EQ(toUtf8(EML_CHARSET_UTF_16, "\xFE\xFF\x20\xAC"), "€");
    EXPECT_EQ(toUtf8(EML_CHARSET_UTF_16, "\xFE\xFF\x20\xAC\x20"), "€?");
    EXPECT_EQ(toUtf8(EML_CHARSET_UTF_16, "\xFF\xFE"), "");
    EXPECT_EQ(toUtf8(EML_CHARSET_UTF_16, "\xFE\xFF"), "");
}

TEST(Charsets, Iso2022JpIsReadWithTheVendorsAdditions) {
    struct Row {
        const char* rule;
        std::string bytes;
        const char* utf8;
    };
    const Row rows[] = {
        {"the 1978 set, and Roman taken for ASCII", "\x1B$@F|\x1B(J\\~", "日\\~"},
        {"row 13", "\x1B$B-!\x1B(B", "①"},
        {"half-width kana", "\x1B(I6^\x1B(B.", "ｶﾞ."},
        {"supplementary kanji", "\x1B$(D0!\x1B(B.", "丂."},
        {"the long escape of the 1983 set", "\x1B$(BF|\x1B(B", "日"},
        {"a line starts in ASCII", "\x1B$BF|\r\nabc", "日\r\nabc"},
        {"blanks and control characters within kanji", "\x1B$BF| \tK\\\x1B(B", "日 \t本"},
        {"half a character at the end", "\x1B$BF|K", "日?"},
        {"half a character before an escape", "\x1B$BF|K\x1B$B!\x1B(Bx", "日??x"},
        {"an unknown escape", "\x1B(Zab", "?(Zab"},
        {"a lone escape", "a\x1B", "a?"},
        {"bytes above 127", "a\xE9z", "a?z"},
        {"kana above its range", "\x1B(I6p", "ｶ?"},
    };
    for (const Row& row : rows) EXPECT_EQ(toUtf8(EML_CHARSET_ISO_2022_JP, row.bytes), row.utf8) << row.rule;
}

TEST(Charsets, InvalidAndTruncatedTextBecomesSubstitutes) {
    struct Row {
        uint32_t id;
        std::string bytes;
        const char* utf8;
    };
    const Row rows[] = {
        {EML_CHARSET_UTF_8, "a\xFFz", "a?z"},
        {EML_CHARSET_UTF_8, "a\x80\x80z", "a??z"},
        {EML_CHARSET_UTF_8, "a\xE2\x82", "a?"},
        {EML_CHARSET_UTF_8, "\xF0\x9F\x98", "?"},
        {EML_CHARSET_UTF_8, "\xED\xA0\x80", "???"},
        {EML_CHARSET_UTF_8, "\xC0\x80z", "??z"},
        {EML_CHARSET_WESTERN, "a\x81z", "a?z"},
        {EML_CHARSET_SHIFT_JIS, "\x93\xFA\x96", "日?"},
        {EML_CHARSET_SHIFT_JIS, "\x93 z", "? z"},
        {EML_CHARSET_GB18030, "\x94\x39\xFC", "?"},
        {EML_CHARSET_BIG5, "\xA4\xA4\xFFz", "中?z"},
        {EML_CHARSET_EUC_KR, "\xC7\xD1\xB1", "한?"},
        {EML_CHARSET_UTF_16, "\x3D\xD8z\0"s, "?z"},
        {EML_CHARSET_UTF_16, "z\0\x3D\xD8"s, "z?"},
        {EML_CHARSET_UTF_16, "z\0y"s, "z?"},
        {EML_CHARSET_UTF_16, "\0\xDEz\0"s, "?z"},
        {EML_CHARSET_HEBREW, "\xE0\xFFz", "א?z"},
        // the a waits for a tone mark, and comes before the substitute all the same
        {EML_CHARSET_VIETNAMESE, "a\x8Ao", "a?o"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(toUtf8(row.id, row.bytes), row.utf8) << row.id << ' ' << testing::PrintToString(row.bytes);
    }
}

TEST(Charsets, Utf8BehindTheLastCharacterIsInvalid) {
    EXPECT_EQ(convert("a\xF4\x8F\xBF\xBF", EML_CHARSET_UTF_8, EML_CHARSET_UTF_8), "a\xF4\x8F\xBF\xBF");
    for (const char* bytes : {"\xF4\x90\x80\x80", "\xF4\x9C\xA8\x93", "\xF7\xBF\xBF\xBF"}) {
        EXPECT_EQ(convert(std::string("a") + bytes + "b", EML_CHARSET_UTF_8, EML_CHARSET_UTF_8), "a????b");
        EXPECT_EQ(convert(bytes, EML_CHARSET_UTF_8, EML_CHARSET_WESTERN), "????");
    }
}

TEST(Charsets, TheSubstituteIsTheCallersChoice) {
    EXPECT_EQ(convert("a\xFFz", EML_CHARSET_UTF_8, EML_CHARSET_UTF_8, U'\uFFFD'), "a\uFFFDz");
    EXPECT_EQ(convert("a€z", EML_CHARSET_UTF_8, EML_CHARSET_ISO_8859_9, U'_'), "a_z");
    EXPECT_EQ(convert("a€z", EML_CHARSET_UTF_8, EML_CHARSET_ISO_8859_9, U'\uFFFD'), "a?z")
        << "a substitute that the target lacks is a question mark";
    EXPECT_EQ(convert("€", EML_CHARSET_UTF_8, EML_CHARSET_TEXT_16), "\xAC\x20");
    EXPECT_EQ(convert("日€本", EML_CHARSET_UTF_8, EML_CHARSET_ISO_2022_JP), "\x1B$BF|\x1B(B?\x1B$BK\\\x1B(B")
        << "a substitute does not disturb the escape sequences";
}

TEST(Charsets, CombiningCharactersAtTheEndAreNotHeldBack) {
    EXPECT_EQ(toUtf8(EML_CHARSET_VIETNAMESE, "a"), "a");
    EXPECT_EQ(toUtf8(EML_CHARSET_HEBREW, "\xE0"), "א");
    EXPECT_EQ(fromUtf8(EML_CHARSET_VIETNAMESE, "a"), "a");
}

TEST(Charsets, AConverterStartsAnewEachTime) {
    Converter fromJapanese(EML_CHARSET_ISO_2022_JP, EML_CHARSET_UTF_8);
    EXPECT_EQ(fromJapanese.convert("\x1B$BF|"), "日");
    EXPECT_EQ(fromJapanese.convert("F|"), "F|");
    Converter fromUtf7(EML_CHARSET_UTF_7, EML_CHARSET_UTF_8);
    EXPECT_EQ(fromUtf7.convert("+Jjo"), "☺");
    EXPECT_EQ(fromUtf7.convert("Jjo"), "Jjo");
}

TEST(Charsets, LongTextsAreConvertedWhole) {
    std::string bytes;
    std::string utf8;
    for (int i = 0; i < 20'000; ++i) {
        bytes += "x\xFF\x93\xFA";
        utf8 += "x?日";
    }
    EXPECT_EQ(toUtf8(EML_CHARSET_SHIFT_JIS, bytes), utf8);
}

// Every pair of bytes, behind a letter and before one: conversion ends, gives text, and never fails.
TEST(Charsets, AnyTwoBytesConvertInEveryCharset) {
    for (const Sample& sample : kSamples) {
        Converter decode(sample.id, EML_CHARSET_UTF_8);
        Converter encode(EML_CHARSET_UTF_8, sample.id);
        for (unsigned pair = 0; pair < 0x10000; pair += 3) {
            const std::string text = {'a', static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF), 'b'};
            ASSERT_FALSE(decode.convert(text).empty()) << sample.id << ' ' << pair;
            ASSERT_FALSE(encode.convert(text).empty()) << sample.id << ' ' << pair;
        }
    }
}

TEST(LeadBytes, AreThoseOfTheFourEastAsianCodePages) {
    for (uint32_t byte = 0; byte < 0x200; ++byte) {
        SCOPED_TRACE(byte);
        bool japanese = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        bool others = byte >= 0x81 && byte <= 0xFE;
        EXPECT_EQ(emlhost::isLeadByte(EML_CHARSET_SHIFT_JIS, byte), japanese);
        for (uint32_t id : {EML_CHARSET_GB2312, EML_CHARSET_BIG5, EML_CHARSET_KSC_5601}) {
            EXPECT_EQ(emlhost::isLeadByte(id, byte), others);
        }
        for (uint32_t id : {EML_CHARSET_UNKNOWN, EML_CHARSET_WESTERN, EML_CHARSET_EUC_JP, EML_CHARSET_EUC_KR,
                            EML_CHARSET_GB18030, EML_CHARSET_UTF_8}) {
            EXPECT_FALSE(emlhost::isLeadByte(id, byte));
        }
    }
}

}  // namespace
