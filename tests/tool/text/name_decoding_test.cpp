#include "tool/text/name_decoding.h"

#include <emlreader/eml_host.h>
#include <gtest/gtest.h>

#include "tool/text/utf8.h"

namespace emltool {
namespace {

struct DecodeCase {
    const char* rule;
    std::string name;
    uint32_t charset;
    std::string decoded;
};

TEST(DecodeName, ReadsEncodedWords) {
    constexpr uint32_t kWestern = EML_CHARSET_WESTERN;
    const DecodeCase cases[] = {
        {"no encoded word", "report.pdf", kWestern, "report.pdf"},
        {"Q", "=?UTF-8?Q?M=C3=A4rz.png?=", kWestern, "März.png"},
        {"_ is a blank in Q", "=?utf-8?q?a_b?=", kWestern, "a b"},
        {"B", "=?UTF-8?B?44Gm44GZ44GoLnR4dA==?=", kWestern, "てすと.txt"},
        {"B without padding", "=?utf-8?b?YQ?=", kWestern, "a"},
        {"another charset", "=?KOI8-R?B?89DJ08/LLmRvYw==?=", kWestern, "Список.doc"},
        {"the vendor's characters under the standard's label", "=?iso-8859-1?Q?=93a=94?=", kWestern, "“a”"},
        {"the superset of GB2312", "=?gb2312?B?6ka4+Q==?=", kWestern, "闒根"},
        {"a language after the charset", "=?utf-8*en?Q?=C3=A4?=", kWestern, "ä"},
        {"text before and after", "a =?utf-8?Q?=C3=A4?= b", kWestern, "a ä b"},
        {"blanks between two words are no text", "=?utf-8?Q?a?= \t =?utf-8?Q?b?=", kWestern, "ab"},
        {"blanks before a word that is none stay", "=?utf-8?Q?a?= =?b", kWestern, "a =?b"},
        {"a character cut in two", "=?utf-8?Q?=C3?= =?utf-8?Q?=A4?=", kWestern, "ä"},
        {"not cut in two where the charset changes", "=?utf-8?Q?=C3?= =?iso-8859-1?Q?=E4?=", kWestern,
         "\uFFFDä"},
        {"blanks inside a broken word", "=?utf-8?Q?a b?=", kWestern, "a b"},
        {"= without digits stands for itself", "=?utf-8?Q?a=zz=4?=", kWestern, "a=zz=4"},
        {"bytes of no character", "=?utf-8?Q?a=FFb?=", kWestern, "a\uFFFDb"},
        {"an unknown charset that is UTF-8", "=?x-none?Q?=C3=A4?=", kWestern, "ä"},
        {"an unknown charset that is not", "=?x-none?Q?=E4?=", kWestern, "ä"},
        {"an unknown encoding stays", "=?utf-8?X?abc?=", kWestern, "=?utf-8?X?abc?="},
        {"a word without end stays", "=?utf-8?Q?abc", kWestern, "=?utf-8?Q?abc"},
        {"a beginning only", "=?", kWestern, "=?"},
        {"an empty charset", "=??Q?a?=", kWestern, "a"},
        {"no options for the converter in a label", "=?utf-8//IGNORE?Q?a?=", kWestern, "a"},
    };
    for (const DecodeCase& c : cases) {
        EXPECT_EQ(decodeName(c.name, c.charset), c.decoded) << c.rule;
    }
}

TEST(DecodeName, ReadsPlain8BitText) {
    const DecodeCase cases[] = {
        {"UTF-8 stays, whatever the message says", "cië.txt", EML_CHARSET_CYRILLIC, "cië.txt"},
        {"the charset of the message", "\xD1\xEF.txt", EML_CHARSET_CYRILLIC, "Сп.txt"},
        {"an East Asian charset", "\x83\x65.txt", EML_CHARSET_SHIFT_JIS, "テ.txt"},
        {"no UTF-8 in a message that says so", "\xE4.txt", EML_CHARSET_UTF_8, "ä.txt"},
        {"no charset", "\xE4.txt", EML_CHARSET_UNKNOWN, "ä.txt"},
        {"a charset of 16-bit units", "\xE4.txt", EML_CHARSET_UTF_16, "ä.txt"},
        {"beside an encoded word", "\xE4 =?utf-8?Q?=C3=B6?=", EML_CHARSET_WESTERN, "ä ö"},
    };
    for (const DecodeCase& c : cases) EXPECT_EQ(decodeName(c.name, c.charset), c.decoded) << c.rule;
}

TEST(DecodeName, ReadsPercentFormsThatCanBeNothingElse) {
    const DecodeCase cases[] = {
        {"charset, language, value", "utf-8'en'na%C3%AFve.txt", 7, "naïve.txt"},
        {"without language", "UTF-8''%e2%82%ac.txt", 7, "€.txt"},
        {"nothing escaped", "it''s.txt", 7, "it''s.txt"},
        {"a word that iconv has as an alias", "it''s 100%25.txt", 7, "it''s 100%25.txt"},
        {"an unknown charset", "Anna's 'big' 100%25.txt", 7, "Anna's 'big' 100%25.txt"},
        {"a longer unknown charset", "mail''100%25.txt", 7, "mail''100%25.txt"},
        {"a stray percent sign", "utf-8''100%.txt", 7, "utf-8''100%.txt"},
        {"one quote", "utf-8'%41.txt", 7, "utf-8'%41.txt"},
        {"a percent sign alone", "50%20off.txt", 7, "50%20off.txt"},
    };
    for (const DecodeCase& c : cases) EXPECT_EQ(decodeName(c.name, c.charset), c.decoded) << c.rule;
}

TEST(DecodeName, GivesUtf8ForEveryByteString) {
    const std::string pieces[] = {"=?utf-8?Q?", "=?gb2312?B?", "=?utf-16?B?", "=?utf-7?Q?", "?=", "=E4",
                                  "\xC3",       "\xFF",        "AAA",         " ",          "%",  "utf-8''"};
    for (const std::string& a : pieces) {
        for (const std::string& b : pieces) {
            for (const std::string& c : pieces) {
                for (const std::string& d : pieces) {
                    std::string name = a + b + c + d;
                    EXPECT_TRUE(isUtf8(decodeName(name, EML_CHARSET_WESTERN))) << name;
                }
            }
        }
    }
}

}  // namespace
}  // namespace emltool
