#include "reference/charset.h"

namespace reference {
namespace {

constexpr CharsetRow kRows[] = {
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
    {"WINDOWS-1252", 7, false},
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

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

// A name matches the entries that it is a leading part of. Behind a zero byte, which meets the one that ends
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
