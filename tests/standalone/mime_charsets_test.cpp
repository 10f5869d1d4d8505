#include "standalone/mime_charsets.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "mime/text_conversion.h"

namespace {

using emlhost::charsetLabels;
using emlhost::findMimeCharset;
using emlhost::mimeConvert;
using namespace std::string_literals;

struct Converted {
    std::string text;
    uint32_t replaced;
    bool operator==(const Converted&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Converted& converted) {
    return out << testing::PrintToString(converted.text) << ' ' << converted.replaced;
}

// As the library calls: `size` bytes more in each piece, what was left over put before them, room for `room` bytes.
Converted convert(const char* label, std::string_view bytes, size_t size, uint32_t room) {
    const EmlMimeConvert& entries = *mimeConvert();
    void* conversion = entries.open(entries.host, label);
    if (conversion == nullptr) return {"(unknown)", 0};
    Converted result{};
    std::string left;
    for (bool last = false; !last;) {
        left += bytes.substr(0, size);
        bytes.remove_prefix(std::min(size, bytes.size()));
        last = bytes.empty();
        for (;;) {
            std::string out(room, '\xEE');
            auto used = static_cast<uint32_t>(left.size());
            uint32_t written = room;
            result.replaced +=
                entries.convert(conversion, left.data(), &used, out.data(), &written, last ? 1 : 0);
            EXPECT_LE(used, left.size());
            EXPECT_LE(written, room);
            result.text += out.substr(0, written);
            left.erase(0, used);
            if (used == 0 && written == 0) break;
        }
    }
    EXPECT_EQ(left, "") << label;
    entries.close(conversion);
    return result;
}

struct Sample {
    const char* label;
    std::string bytes;
    std::string utf8;
    uint32_t replaced = 0;
};

const Sample kSamples[] = {
    {"iso-8859-2", "\xA3\xF3\x64\xBC", "Łódź"},
    {"koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4", "Привет"},
    {"windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
    {"Windows 1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
    {"win-1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
    {"CP_1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
    {"cp866", "\x8F\xE0\xA8", "При"},
    {"iso-8859-8-i", "\xF9\xEC\xE5\xED", "שלום"},
    {"iso-8859-8-e", "\xF9\xEC\xE5\xED", "שלום"},
    {"windows-874", "\xCA\xC7\xD1", "สวั"},
    {"tis-620", "\xCA\xC7\xD1", "สวั"},
    {"x-mac-cyrillic", "\x8F\xDC", "П№"},
    {"macintosh", "caf\x8E", "café"},
    {"windows-1258", "a\xCC", "à"},
    {"gb2312", "\xD6\xD0\xB9\xFA\x94\x39\xFC\x36", "中国😀"},
    {"gbk", "\x81\x40", "丂"},
    {"big5", "\xA4\xA4\xA4\xE5", "中文"},
    {"euc-kr", "\xC7\xD1\x81\x41", "한갂"},
    {"ks_c_5601-1987", "\xC7\xD1", "한"},
    {"shift_jis", "\x93\xFA\x96\x7B\xB6\x87\x40", "日本ｶ①"},
    {"euc-jp", "\xC6\xFC\xCB\xDC\xAD\xA1", "日本①"},
    {"iso-2022-jp", "A\x1B$BF|K\\\x1B(B!", "A日本!"},
    {"ISO-2022-JP", "\x1B$B-!\x1B(I6\x1B(B.", "①ｶ."},
    {"iso-2022-kr", "\x1B$)C\x0EGQ\x0F.", "한."},
    {"hz-gb-2312", "a~{VP9z~}b~~c", "a中国b~c"},
    {"utf-7", "Hi Mom +Jjo-!", "Hi Mom ☺!"},
    {"unicode-1-1-utf-7", "+Jjo-", "☺"},
    {"utf-16", "\xFF\xFE\xAC\x20", "€"},
    {"utf-16", "\xFE\xFF\x20\xAC", "€"},
    {"utf-16le", "\xAC\x20\x3D\xD8\x00\xDE"s, "€😀"},
    {"utf-16be", "\x20\xAC"s, "€"},
    {"utf-32be", "\x00\x01\xF6\x00"s, "😀"},
    {"x-user-defined", "a\x80\xFF", "a\uF780\uF7FF"},
    {"ansi_x3.110-1983",
     "\xC2"
     "e",
     "é"},
    {"ibm850", "caf\x82", "café"},
    {"viscii", "\xA4", "ấ"},
    // Invalid bytes
    {"windows-1257", "a\xA1z", "a\uFFFDz", 1},
    {"gb2312", "\xD6\xD0\xFF", "中\uFFFD", 1},
    {"big5", "\xA4\xA4\xFFz", "中\uFFFDz", 1},
    {"shift_jis", "\x93\xFA\x96", "日\uFFFD", 1},
    {"utf-16le", "\x00\xDEz\x00"s, "\uFFFDz", 1},
    {"utf-16le", "z\x00\x41"s, "z\uFFFD", 1},
    {"iso-2022-jp", "\x1B$BF|K", "日\uFFFD", 1},
    {"iso-2022-jp", "a\xE9z", "a\uFFFDz", 1},
    {"hz-gb-2312", "a\xE9~{V", "a\uFFFD\uFFFD", 2},
};

TEST(MimeCharsets, SamplesInEveryPiecing) {
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(std::string(sample.label) + ' ' + testing::PrintToString(sample.bytes));
        const Converted expected{sample.utf8, sample.replaced};
        for (const size_t size : {size_t{1000}, size_t{1}, size_t{2}, size_t{3}, size_t{5}}) {
            for (const uint32_t room : {2048u, 16u})
                EXPECT_EQ(convert(sample.label, sample.bytes, size, room), expected) << size;
        }
    }
}

TEST(MimeCharsets, LabelsThatNobodyKnowsAreRefused) {
    for (const char* label :
         {"", "x-none", "utf-8//TRANSLIT", "//IGNORE", "utf-8,ascii", "a b", "\xC3\xA9"}) {
        EXPECT_EQ(convert(label, "abc", 3, 16).text, "(unknown)") << label;
    }
}

TEST(MimeCharsets, EveryLabelOfTheTableOpensAndCarriesAscii) {
    size_t count = 0;
    std::string_view before;
    for (const emlhost::CharsetLabel& row : charsetLabels()) {
        SCOPED_TRACE(row.label);
        EXPECT_LT(before, row.label) << "sorted";
        before = row.label;
        ASSERT_TRUE(findMimeCharset(row.label).has_value());
        const std::string_view name = row.iconvName;
        if (name.starts_with("UTF-16")) continue;
        EXPECT_EQ(convert(std::string(row.label).c_str(), "abc 123\r\n", 4, 64),
                  (Converted{"abc 123\r\n", 0}));
        ++count;
    }
    EXPECT_GT(count, 200u);
}

// Any two bytes in any charset of the samples give UTF-8, and the conversion ends.
TEST(MimeCharsets, AnyTwoBytesGiveUtf8) {
    for (const Sample& sample : kSamples) {
        for (unsigned pair = 0; pair < 0x10000; pair += 251) {
            const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
            ASSERT_TRUE(eml::isUtf8(convert(sample.label, bytes, 2, 64).text)) << sample.label << ' ' << pair;
        }
    }
}

TEST(MimeCharsets, LongTextsAreConvertedWhole) {
    std::string bytes;
    std::string utf8;
    for (int i = 0; i < 5000; ++i) {
        bytes += "\x1B$BF|\x1B(Bx";
        utf8 += "日x";
    }
    EXPECT_EQ(convert("iso-2022-jp", bytes, 4096, 2048), (Converted{utf8, 0}));
    EXPECT_EQ(convert("iso-2022-jp", bytes, 100'000, 64), (Converted{utf8, 0}));
}

}  // namespace
