#include "charset/charset_names.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "reference/bytes.h"
#include "reference/charset.h"

namespace {

using reference::charsetId;
using reference::charsetIdOfParameter;
using reference::charsetRows;
using reference::shown;

// Both forms read out of a block of exactly the size of their text.
std::unique_ptr<uint8_t[]> blockOf(std::string_view text) {
    std::unique_ptr<uint8_t[]> block(new uint8_t[text.size()]);
    std::copy(text.begin(), text.end(), block.get());
    return block;
}

uint32_t filterId(std::string_view name) {
    const auto block = blockOf(name);
    return mapEMLcharset(block.get(), static_cast<uint32_t>(name.size()));
}

uint32_t parameterId(std::string_view parameter) {
    const auto block = blockOf(parameter);
    return eml2MapCharset({block.get(), block.get() + parameter.size()});
}

uint32_t containerId(std::string_view name) { return parameterId("charset=" + std::string(name)); }

std::string upper(std::string text) {
    for (char& character : text) {
        if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 32);
    }
    return text;
}

std::string lower(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character + 32);
    }
    return text;
}

TEST(CharsetNames, EveryRowInBothForms) {
    const struct {
        const char* name;
        uint32_t id;
    } rows[] = {
        {"UTF-8", 53},         {"UTF8", 53},         {"UTF-16", 52},       {"UTF16", 52},
        {"UTF-7", 54},         {"UTF7", 54},         {"us-ascii", 7},      {"ISO-8859-1", 7},
        {"ISO-8859-2", 5},     {"ISO-8859-3", 16},   {"ISO-8859-4", 17},   {"ISO-8859-5", 6},
        {"ISO-8859-6", 19},    {"ISO-8859-7", 8},    {"ISO-8859-8", 21},   {"ISO-8859-9", 22},
        {"ISO-8859-10", 81},   {"ISO-8859-13", 82},  {"ISO-8859-14", 23},  {"ISO-8859-15", 24},
        {"ISO-2022-JP", 55},   {"Shift_JIS", 1},     {"Shift-JIS", 1},     {"X-SJIS", 1},
        {"X-EUC-JP", 66},      {"EUC-JP", 66},       {"EUC-KR", 69},       {"WINDOWS-1252", 7},
        {"windows-1250", 5},   {"windows-1251", 6},  {"windows-1252", 7},  {"windows-1253", 8},
        {"windows-1254", 9},   {"windows-1255", 10}, {"windows-1256", 11}, {"windows-1257", 12},
        {"windows-1258", 13},  {"GB18030", 94},      {"GB2312", 2},        {"GB_2312-80", 2},
        {"Big5", 3},           {"KSC_5601", 4},      {"KS_C_5601", 4},     {"KS-C-5601", 4},
        {"KS_C_5601-1987", 4}, {"koi8-r", 6},        {"DOS-862", 35},
    };
    for (const auto& row : rows) {
        for (const std::string& name : {std::string(row.name), upper(row.name), lower(row.name)}) {
            EXPECT_EQ(row.id, filterId(name)) << name;
            EXPECT_EQ(row.id, containerId(name)) << name;
            EXPECT_EQ(row.id, charsetId(name, false)) << name;
            EXPECT_EQ(row.id, charsetId(name, true)) << name;
        }
    }
}

// The name with a blank can be given to the filter's form alone: the container's form ends at the blank, and
// what is left of it leads to the same id.
TEST(CharsetNames, TheNameWithABlank) {
    EXPECT_EQ(4u, filterId("KSC 5601"));
    EXPECT_EQ(4u, filterId("ksc 56"));
    EXPECT_EQ(0u, filterId("KSC 5602"));
    EXPECT_EQ(4u, containerId("KSC 5601"));
    EXPECT_EQ(4u, containerId("KSC 5602"));
}

TEST(CharsetNames, TheFullNameOfUtf7IsKnownToTheContainerAlone) {
    EXPECT_EQ(54u, containerId("unicode-1-1-utf-7"));
    EXPECT_EQ(54u, containerId("Unicode-1-1-UTF-7"));
    EXPECT_EQ(54u, containerId("unicode-1-1"));
    EXPECT_EQ(54u, containerId("un"));
    EXPECT_EQ(0u, filterId("unicode-1-1-utf-7"));
    EXPECT_EQ(0u, filterId("un"));
}

TEST(CharsetNames, ALeadingPartMatchesTheFirstEntryThatItLeads) {
    const struct {
        const char* name;
        uint32_t id;
    } rows[] = {
        {"u", 53},
        {"ut", 53},
        {"utf", 53},
        {"utf-", 53},
        {"utf-1", 52},
        {"utf1", 52},
        {"us", 7},
        {"us-", 7},
        {"i", 7},
        {"iso", 7},
        {"iso-", 7},
        {"iso-8859", 7},
        {"iso-8859-", 7},
        {"iso-8859-1", 7},
        {"iso-2", 55},
        {"s", 1},
        {"shift", 1},
        {"shift-", 1},
        {"x", 1},
        {"x-", 1},
        {"x-e", 66},
        {"e", 66},
        {"euc", 66},
        {"euc-", 66},
        {"euc-k", 69},
        {"w", 7},
        {"windows", 7},
        {"windows-125", 7},
        {"windows-", 7},
        {"g", 94},
        {"gb", 94},
        {"gb1", 94},
        {"gb2", 2},
        {"gb_", 2},
        {"b", 3},
        {"big", 3},
        {"k", 4},
        {"ks", 4},
        {"ksc", 4},
        {"ks_", 4},
        {"ks-", 4},
        {"ks_c_5601-", 4},
        {"ks_c_5601-1987", 4},
        {"ko", 6},
        {"koi8", 6},
        {"koi8-", 6},
        {"d", 35},
        {"dos", 35},
        {"dos-", 35},
        {"dos-8", 35},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.id, filterId(row.name)) << row.name;
        EXPECT_EQ(row.id, containerId(row.name)) << row.name;
    }
}

TEST(CharsetNames, NamesThatMatchNothing) {
    const char* const names[] = {
        "UTF-16LE", "UTF-16BE", "UTF-32",     "UTF-80",         "utf_8",         "ISO_8859-1",   "iso8859-1",
        "latin1",   "cp1252",   "GBK",        "windows-874",    "windows-12520", "big5-hkscs",   "KOI8-U",
        "dos-866",  "dos-8620", "us-ascii-7", "ISO-8859-11",    "ISO-8859-16",   "ISO-8859-150", "euc-tw",
        "x-euc-kr", "sjis",     "shift.jis",  "ks_c_5601-1988", "gb2312-80",     "gb18030x",     "ascii",
        "8859-1",   "-utf-8",   "_utf-8",     "(utf-8)",        "=utf-8",        "'utf-8'",      "932",
        "a",        "c",        "z",          "macintosh",      "hz-gb-2312",    "viscii",       "tis-620",
    };
    for (const char* name : names) {
        EXPECT_EQ(0u, filterId(name)) << name;
        EXPECT_EQ(0u, containerId(name)) << name;
    }
}

// Every single byte as a name, so also every byte that shares its group with a letter only by the bit of the
// case.
TEST(CharsetNames, EveryByteAsAName) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string name(1, static_cast<char>(byte));
        EXPECT_EQ(charsetId(name, false), filterId(name)) << byte;
        if (std::string_view("\" \t;\r\n").find(name) != std::string_view::npos) continue;
        EXPECT_EQ(charsetId(name, true), containerId(name)) << byte;
    }
}

// Nothing is compared then: the group of the byte at the name decides.
TEST(CharsetNames, ANameOfNoCharactersTakesTheFirstEntryOfItsGroup) {
    const struct {
        const char* text;
        uint32_t id;
    } rows[] = {{"u", 53}, {"U", 53}, {"i", 7}, {"s", 1},  {"x", 1}, {"e", 66}, {"w", 7},
                {"g", 94}, {"b", 3},  {"k", 4}, {"d", 35}, {"a", 0}, {"?", 0},  {"8", 0}};
    for (const auto& row : rows) {
        const auto block = blockOf(row.text);
        EXPECT_EQ(row.id, mapEMLcharset(block.get(), 0)) << row.text;
    }
}

TEST(CharsetNames, EveryPrefixOfEveryRowAgreesWithTheReference) {
    for (const auto& row : charsetRows()) {
        const std::string name = row.name;
        for (size_t length = 1; length <= name.size(); ++length) {
            for (const std::string& form : {name, upper(name), lower(name)}) {
                const std::string prefix = form.substr(0, length);
                EXPECT_EQ(charsetId(prefix, false), filterId(prefix)) << prefix;
                const std::string parameter = "charset=" + prefix;
                EXPECT_EQ(charsetIdOfParameter(parameter), parameterId(parameter)) << parameter;
                EXPECT_EQ(charsetIdOfParameter(parameter + ";"), parameterId(parameter + ";")) << parameter;
            }
        }
    }
}

TEST(CharsetNames, EveryChangeOfOneByteAgreesWithTheReference) {
    for (const auto& row : charsetRows()) {
        for (size_t place = 0; place < std::string_view(row.name).size(); ++place) {
            for (int byte = 1; byte < 256; ++byte) {
                std::string name = row.name;
                name[place] = static_cast<char>(byte);
                ASSERT_EQ(charsetId(name, false), filterId(name)) << shown(name);
                const std::string parameter = "charset=" + name;
                ASSERT_EQ(charsetIdOfParameter(parameter), parameterId(parameter)) << shown(name);
            }
        }
    }
}

TEST(CharsetNames, EveryRowWithOneByteMoreAgreesWithTheReference) {
    for (const auto& row : charsetRows()) {
        for (int byte = 1; byte < 256; ++byte) {
            const std::string name = row.name + std::string(1, static_cast<char>(byte));
            ASSERT_EQ(charsetId(name, false), filterId(name)) << shown(name);
            const std::string parameter = "charset=" + name;
            ASSERT_EQ(charsetIdOfParameter(parameter), parameterId(parameter)) << shown(name);
        }
    }
}

TEST(CharsetNames, TheContainerCutsTheNameOut) {
    const struct {
        std::string parameter;
        uint32_t id;
    } rows[] = {
        {"charset=utf-8", 53},
        {"CHARSET=utf-8", 53},
        {"charset=\"utf-8\"", 53},
        {"charset=\"utf-8", 53},
        {"charset=utf-8\"", 53},
        {"charset=utf-8; format=flowed", 53},
        {"charset=utf-8 (comment)", 53},
        {"charset=utf-8\tx", 53},
        {"charset=utf-8\r\n", 53},
        {"charset=utf-8\n", 53},
        {std::string("charset=utf-8\0-16", 17), 53},
        {"charset=\"utf-8\" ; x", 53},
        {"charset=utf-8,", 0},
        {"charset=utf-8'", 0},
        {"charset='utf-8'", 0},
        {"charset=", 0},
        {"charset=;", 0},
        {"charset=\"\"", 0},
        {"charset=\"", 0},
        {"charset=\"\"utf-8\"", 0},
        {"charset= utf-8", 0},
        {"charset=\" utf-8\"", 0},
        {"charset=\r\nutf-8", 0},
        {"charset=\tutf-8", 0},
        {std::string("charset=\0utf-8", 14), 0},
        {"charset=8bit", 0},
        {"charset=_", 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.id, parameterId(row.parameter)) << shown(row.parameter);
        EXPECT_EQ(row.id, charsetIdOfParameter(row.parameter)) << shown(row.parameter);
    }
}

TEST(CharsetNames, AVeryLongNameIsNone) {
    EXPECT_EQ(0u, filterId("utf-8" + std::string(100000, '8')));
    EXPECT_EQ(0u, containerId("utf-8" + std::string(100000, '8')));
    EXPECT_EQ(0u, containerId(std::string(5000, 'u')));
}

}  // namespace
