// The conversion that the stand-alone host gives the MIME reader: text of any charset that iconv knows, by the
// names that mail has for it.
#ifndef EMLREADER_STANDALONE_MIME_CHARSETS_H
#define EMLREADER_STANDALONE_MIME_CHARSETS_H

#include <emlreader/eml_mime.h>

#include <optional>
#include <string_view>

#include "standalone/charset_labels.h"

namespace emlhost {

// The entries for EmlMimeOptions.convert. They have no state of their own: any number of contexts, on any threads,
// may use them. Each byte that belongs to no character, or each unit of a charset of 16 or 32 bits, and a character
// that is cut off at the end become U+FFFD. No exception leaves them.
const EmlMimeConvert* mimeConvert() noexcept;

// What a label means: one of the WHATWG Encoding Standard, one of a few more, or else a name of iconv's own. Case
// does not count, and where no label is exactly that, only letters and digits do: "Windows 1251", "win-1251" and
// "cp_1251" are windows-1251. Nothing when nobody knows it.
struct FoundCharset {
    std::string_view iconvName;  // in the table, or the label itself; means nothing for UserDefined
    CharsetForm form;
};
std::optional<FoundCharset> findMimeCharset(std::string_view label);

}  // namespace emlhost

#endif
