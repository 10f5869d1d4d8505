// The charset names that the library knows, with the host's ids. An id that is new here needs a constant in
// eml_host.h and an entry in the tables of the hosts; tests/charset/charset_table_test.cpp compares them.
#pragma once

#include <emlreader/eml_host.h>

namespace eml {

struct CharsetName {
    char name[18];
    uint8_t id;
    bool containerOnly;
};

// In the order in which names are compared. The names of a group, those with the same first letter, stand
// together. KEPT: the numbering is uneven: ISO-8859-1, -2, -5 and -7 share the ids of Windows code pages, -6,
// -8 and -9 do not.
inline constexpr CharsetName kCharsetNames[] = {
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
    {"WINDOWS-1252", EML_CHARSET_WESTERN, false},  // KEPT: stands first, so that "windows" alone is Western
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

}  // namespace eml
