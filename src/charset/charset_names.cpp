#include "charset/charset_names.h"

#include <emlreader/eml_host.h>

#include <array>
#include <string_view>

#include "bytes/ascii.h"

namespace {

struct CharsetName {
    char name[18];
    uint8_t id;
    bool containerOnly;
};

// In the order in which names are compared. The names of a group, those with the same first letter, stand
// together. KEPT: the numbering is uneven: ISO-8859-1, -2, -5 and -7 share the ids of Windows code pages, -6,
// -8 and -9 do not.
constexpr CharsetName kNames[] = {
    {"UTF-8", 53, false},
    {"UTF8", 53, false},
    {"UTF-16", 52, false},
    {"UTF16", 52, false},
    {"UTF-7", 54, false},
    {"UTF7", 54, false},
    {"unicode-1-1-utf-7", 54, true},
    {"us-ascii", 7, false},
    {"ISO-8859-1", 7, false},
    {"ISO-8859-2", 5, false},
    {"ISO-8859-3", 16, false},
    {"ISO-8859-4", 17, false},
    {"ISO-8859-5", 6, false},
    {"ISO-8859-6", 19, false},
    {"ISO-8859-7", 8, false},
    {"ISO-8859-8", 21, false},
    {"ISO-8859-9", 22, false},
    {"ISO-8859-10", 81, false},
    {"ISO-8859-13", 82, false},
    {"ISO-8859-14", 23, false},
    {"ISO-8859-15", 24, false},
    {"ISO-2022-JP", 55, false},
    {"Shift_JIS", 1, false},
    {"Shift-JIS", 1, false},
    {"X-SJIS", 1, false},
    {"X-EUC-JP", 66, false},
    {"EUC-JP", 66, false},
    {"EUC-KR", 69, false},
    {"WINDOWS-1252", 7, false},  // KEPT: stands first, so that "windows" alone is Western
    {"windows-1250", 5, false},
    {"windows-1251", 6, false},
    {"windows-1252", 7, false},
    {"windows-1253", 8, false},
    {"windows-1254", 9, false},
    {"windows-1255", 10, false},
    {"windows-1256", 11, false},
    {"windows-1257", 12, false},
    {"windows-1258", 13, false},
    {"GB18030", 94, false},
    {"GB2312", 2, false},
    {"GB_2312-80", 2, false},
    {"Big5", 3, false},
    {"KSC_5601", 4, false},
    {"KS_C_5601", 4, false},
    {"KSC 5601", 4, false},
    {"KS-C-5601", 4, false},
    {"KS_C_5601-1987", 4, false},
    {"koi8-r", 6, false},
    {"DOS-862", 35, false},
};

constexpr uint8_t kNameCount = sizeof kNames / sizeof kNames[0];

// The first entry of each group, by the first letter; kNameCount where there is none.
constexpr std::array<uint8_t, 256> makeGroups() {
    std::array<uint8_t, 256> groups{};
    groups.fill(kNameCount);
    for (uint8_t i = kNameCount; i-- > 0;) groups[static_cast<uint8_t>(kNames[i].name[0] | 0x20)] = i;
    return groups;
}

constexpr std::array<uint8_t, 256> kGroups = makeGroups();

// A comparison over `length` characters, which ends with the entry's zero byte at the latest. KEPT: a name that
// is a leading part of an entry matches it.
bool isLeadingPart(const uint8_t* name, uint32_t length, const CharsetName& entry) {
    for (uint32_t i = 0; i < length; ++i) {
        const auto wanted = static_cast<uint8_t>(entry.name[i]);
        if (eml::toLower(name[i]) != eml::toLower(wanted)) return false;
        if (wanted == 0) return true;
    }
    return true;
}

uint32_t lookUp(const uint8_t* name, uint32_t length, bool container) {
    const auto group = static_cast<uint8_t>(name[0] | 0x20);
    for (uint8_t i = kGroups[group]; i < kNameCount && (kNames[i].name[0] | 0x20) == group; ++i) {
        if (kNames[i].containerOnly && !container) continue;
        if (isLeadingPart(name, length, kNames[i])) return kNames[i].id;
    }
    return EML_CHARSET_UNKNOWN;
}

}  // namespace

uint32_t mapEMLcharset(const uint8_t* name, uint32_t length) { return lookUp(name, length, false); }

uint32_t eml2MapCharset(eml::Cursor parameter) {
    constexpr std::string_view kEnds("\0\" \t;\r\n", 7);
    parameter.skip(std::string_view("charset=").size());
    parameter.accept('"');
    const uint8_t* const name = parameter.pos;
    while (!parameter.atEnd() && kEnds.find(static_cast<char>(*parameter.pos)) == std::string_view::npos) {
        parameter.skip(1);
    }
    if (parameter.pos == name) return EML_CHARSET_UNKNOWN;
    return lookUp(name, static_cast<uint32_t>(parameter.pos - name), true);
}
