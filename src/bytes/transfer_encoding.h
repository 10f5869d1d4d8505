// Content-Transfer-Encoding (RFC 2045 section 6): what both readers record of it, and the words of the
// header.
#pragma once

#include "bytes/cursor.h"

namespace eml {

// 3 is not used.
enum class TransferEncoding : uint8_t {
    kNone = 0,  // none given, or not recognised
    k7Bit = 1,
    k8Bit = 2,
    kBase64 = 4,
    kQuotedPrintable = 5,
};

struct EncodingWord {
    char word[17];
    TransferEncoding encoding;
};

inline constexpr EncodingWord kEncodingWords[] = {
    {"7bit", TransferEncoding::k7Bit},
    {"8bit", TransferEncoding::k8Bit},
    {"quoted-printable", TransferEncoding::kQuotedPrintable},
    {"base64", TransferEncoding::kBase64},
};

// The encoding whose word `text` begins with; what follows the word does not matter.
[[nodiscard]] inline TransferEncoding leadingEncoding(Cursor text) {
    const uint8_t first = toLower(text.peek());
    for (const EncodingWord& row : kEncodingWords) {
        if (static_cast<uint8_t>(row.word[0]) == first && text.startsWithNoCase(row.word))
            return row.encoding;
    }
    return TransferEncoding::kNone;
}

}  // namespace eml
