#include "reference/charset.h"

#include <emlreader/eml_host.h>

namespace reference {
namespace {

constexpr CharsetRow kRows[] = {
    {"UTF-8", EML_CHARSET_UTF_8, false},
    {"UTF8", EML_CHARSET_UTF_8, false},
    {"UTF-16", EML_CHARSET_UTF_16, false},
    {"UTF16", EML_CHARSET_UTF_16, false},
    {"UTF-7", EML_CHARSET_UTF_7, false},
    {"UTF7", EML_CHARSET_UTF_7, false},
    {"unicode-1-1-utf-7", EML_CHARSET_UTF_7, true},
    {"us-ascii", EML_CHARSET_WESTERN, false},
    {"ISO-8859-1", EML_CHARSET_WESTERN, false},
    {"ISO-8859-2", EML_CHARSET_CENTRAL_EUROPE, false},
    {"ISO-8859-3", EML_CHARSET_ISO_8859_3, false},
    {"ISO-8859-4", EML_CHARSET_ISO_8859_4, false},
    {"ISO-8859-5", EML_CHARSET_CYRILLIC, false},
    {"ISO-8859-6", EML_CHARSET_ISO_8859_6, false},
    {"ISO-8859-7", EML_CHARSET_GREEK, false},
    {"ISO-8859-8", EML_CHARSET_ISO_8859_8, false},
    {"ISO-8859-9", EML_CHARSET_ISO_8859_9, false},
    {"ISO-8859-10", EML_CHARSET_ISO_8859_10, false},
    {"ISO-8859-13", EML_CHARSET_ISO_8859_13, false},
    {"ISO-8859-14", EML_CHARSET_ISO_8859_14, false},
    {"ISO-8859-15", EML_CHARSET_ISO_8859_15, false},
    {"ISO-2022-JP", EML_CHARSET_ISO_2022_JP, false},
    {"Shift_JIS", EML_CHARSET_SHIFT_JIS, false},
    {"Shift-JIS", EML_CHARSET_SHIFT_JIS, false},
    {"X-SJIS", EML_CHARSET_SHIFT_JIS, false},
    {"X-EUC-JP", EML_CHARSET_EUC_JP, false},
    {"EUC-JP", EML_CHARSET_EUC_JP, false},
    {"EUC-KR", EML_CHARSET_EUC_KR, false},
    {"WINDOWS-1252", EML_CHARSET_WESTERN, false},
    {"windows-1250", EML_CHARSET_CENTRAL_EUROPE, false},
    {"windows-1251", EML_CHARSET_CYRILLIC, false},
    {"windows-1252", EML_CHARSET_WESTERN, false},
    {"windows-1253", EML_CHARSET_GREEK, false},
    {"windows-1254", EML_CHARSET_TURKISH, false},
    {"windows-1255", EML_CHARSET_HEBREW, false},
    {"windows-1256", EML_CHARSET_ARABIC, false},
    {"windows-1257", EML_CHARSET_BALTIC, false},
    {"windows-1258", EML_CHARSET_VIETNAMESE, false},
    {"GB18030", EML_CHARSET_GB18030, false},
    {"GB2312", EML_CHARSET_GB2312, false},
    {"GB_2312-80", EML_CHARSET_GB2312, false},
    {"Big5", EML_CHARSET_BIG5, false},
    {"KSC_5601", EML_CHARSET_KSC_5601, false},
    {"KS_C_5601", EML_CHARSET_KSC_5601, false},
    {"KSC 5601", EML_CHARSET_KSC_5601, false},
    {"KS-C-5601", EML_CHARSET_KSC_5601, false},
    {"KS_C_5601-1987", EML_CHARSET_KSC_5601, false},
    {"koi8-r", EML_CHARSET_CYRILLIC, false},
    {"DOS-862", EML_CHARSET_DOS_862, false},
};

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

// A name matches the entries that it is a leading part of. After a zero byte, which meets the one that ends
// the entry, nothing is looked at.
bool isLeadingPart(std::string_view name, std::string_view entry) {
    for (size_t i = 0; i < name.size(); ++i) {
        if (i == entry.size()) return name[i] == '\0';
        if (lower(name[i]) != lower(entry[i])) return false;
    }
    return true;
}

}  // namespace

std::span<const CharsetRow> charsetRows() { return kRows; }

uint32_t charsetId(std::string_view name, bool containerForm) {
    for (const CharsetRow& row : kRows) {
        if (row.containerOnly && !containerForm) continue;
        if (isLeadingPart(name, row.name)) return row.id;
    }
    return 0;
}

uint32_t charsetIdOfParameter(std::string_view parameter) {
    std::string_view rest = parameter.substr(8);
    if (!rest.empty() && rest.front() == '"') rest.remove_prefix(1);
    const std::string_view name = rest.substr(0, rest.find_first_of(std::string_view("\0\" \t;\r\n", 7)));
    return name.empty() ? 0 : charsetId(name, true);
}

}  // namespace reference
