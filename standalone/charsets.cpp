#include "standalone/charsets.h"

#include <emlreader/eml_host.h>

#include <algorithm>
#include <array>

namespace emlhost {

namespace {

// Names of glibc's iconv. Where the two columns differ, mail says the narrow name and means the wide charset:
//
//   GB2312       is in practice any text of GB18030, the superset of code page 936.
//   Big5         Of glibc's Big5 charsets BIG5 is code page 950 with the ETEN additions. BIG5-HKSCS would decode
//                some more characters, but gives others at places where code page 950 has its own.
//   KS_C_5601-1987, EUC-KR   Both names mostly label code page 949, the superset of EUC-KR.
//   UTF-16       See Converter for the order of bytes.
//   ISO-2022-JP  Decoded by way of EUC-JP, see iso_2022_jp.h.
//   EUC-JP       EUC-JP-MS adds the vendor characters to EUC-JP.
constexpr std::array<Charset, 31> kCharsets = {{
    {EML_CHARSET_SHIFT_JIS, "CP932", "CP932", "Shift_JIS"},
    {EML_CHARSET_GB2312, "GB18030", "CP936", "GB2312"},
    {EML_CHARSET_BIG5, "BIG5", "BIG5", "Big5"},
    {EML_CHARSET_KSC_5601, "CP949", "CP949", "KS_C_5601-1987"},
    {EML_CHARSET_CENTRAL_EUROPE, "CP1250", "CP1250", "windows-1250"},
    {EML_CHARSET_CYRILLIC, "CP1251", "CP1251", "windows-1251"},
    {EML_CHARSET_WESTERN, "CP1252", "CP1252", "windows-1252"},
    {EML_CHARSET_GREEK, "CP1253", "CP1253", "windows-1253"},
    {EML_CHARSET_TURKISH, "CP1254", "CP1254", "windows-1254"},
    {EML_CHARSET_HEBREW, "CP1255", "CP1255", "windows-1255"},
    {EML_CHARSET_ARABIC, "CP1256", "CP1256", "windows-1256"},
    {EML_CHARSET_BALTIC, "CP1257", "CP1257", "windows-1257"},
    {EML_CHARSET_VIETNAMESE, "CP1258", "CP1258", "windows-1258"},
    {EML_CHARSET_ISO_8859_3, "ISO-8859-3", "ISO-8859-3", "ISO-8859-3"},
    {EML_CHARSET_ISO_8859_4, "ISO-8859-4", "ISO-8859-4", "ISO-8859-4"},
    {EML_CHARSET_ISO_8859_6, "ISO-8859-6", "ISO-8859-6", "ISO-8859-6"},
    {EML_CHARSET_ISO_8859_8, "ISO-8859-8", "ISO-8859-8", "ISO-8859-8"},
    {EML_CHARSET_ISO_8859_9, "ISO-8859-9", "ISO-8859-9", "ISO-8859-9"},
    {EML_CHARSET_ISO_8859_14, "ISO-8859-14", "ISO-8859-14", "ISO-8859-14"},
    {EML_CHARSET_ISO_8859_15, "ISO-8859-15", "ISO-8859-15", "ISO-8859-15"},
    {EML_CHARSET_DOS_862, "CP862", "CP862", "IBM862"},
    {EML_CHARSET_TEXT_16, "UTF-16LE", "UTF-16LE", "UTF-16LE"},
    {EML_CHARSET_UTF_16, "UTF-16LE", "UTF-16LE", "UTF-16"},
    {EML_CHARSET_UTF_8, "UTF-8", "UTF-8", "UTF-8"},
    {EML_CHARSET_UTF_7, "UTF-7", "UTF-7", "UTF-7"},
    {EML_CHARSET_ISO_2022_JP, "EUC-JP-MS", "ISO-2022-JP", "ISO-2022-JP"},
    {EML_CHARSET_EUC_JP, "EUC-JP-MS", "EUC-JP", "EUC-JP"},
    {EML_CHARSET_EUC_KR, "CP949", "EUC-KR", "EUC-KR"},
    {EML_CHARSET_ISO_8859_10, "ISO-8859-10", "ISO-8859-10", "ISO-8859-10"},
    {EML_CHARSET_ISO_8859_13, "ISO-8859-13", "ISO-8859-13", "ISO-8859-13"},
    {EML_CHARSET_GB18030, "GB18030", "GB18030", "GB18030"},
}};

}  // namespace

const Charset* findCharset(uint32_t id) noexcept {
    const auto* found = std::find_if(kCharsets.begin(), kCharsets.end(),
                                     [id](const Charset& charset) { return charset.id == id; });
    return found == kCharsets.end() ? nullptr : found;
}

bool isLeadByte(uint32_t id, uint32_t byte) noexcept {
    switch (id) {
        case EML_CHARSET_SHIFT_JIS:
            return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        case EML_CHARSET_GB2312:
        case EML_CHARSET_BIG5:
        case EML_CHARSET_KSC_5601:
            return byte >= 0x81 && byte <= 0xFE;
        default:
            return false;
    }
}

}  // namespace emlhost
