// The labels that mail and web pages write for charsets, with iconv's names.
#ifndef EMLREADER_STANDALONE_CHARSET_LABELS_H
#define EMLREADER_STANDALONE_CHARSET_LABELS_H

#include <cstdint>
#include <span>
#include <string_view>

namespace emlhost {

// How text of a charset is read.
enum class CharsetForm : uint8_t {
    kIconv,        // by iconv
    kIso2022Jp,    // ISO-2022-JP with what programs add to it; iconv reads it as EUC-JP
    kHz,           // HZ (RFC 1843), which iconv lacks; it reads the characters as GB18030
    kUserDefined,  // x-user-defined: 0x80 to 0xFF are U+F780 to U+F7FF
};

struct CharsetLabel {
    std::string_view label;  // lower case
    const char* iconvName;
    CharsetForm form;
};

// The labels of the WHATWG Encoding Standard, sorted by bytes: charset_labels.cpp is made by
// scripts/make-charset-labels.
std::span<const CharsetLabel> charsetLabels() noexcept;

}  // namespace emlhost

#endif
