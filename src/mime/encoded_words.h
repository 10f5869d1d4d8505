// Encoded words (RFC 2047, with the language of RFC 2231 section 5), as the sender meant them: words in the same
// charset and encoding that stand side by side are joined before they are converted, so that a character split
// between two survives; blanks between words are dropped; what is no encoded word stays as it stands.
#pragma once

#include <emlreader/eml_mime.h>

#include <optional>
#include <string_view>

#include "mime/text_builder.h"

namespace eml {

struct EncodedWord {
    std::string_view charset;  // without language
    bool base64;               // else "Q"
    std::string_view text;     // as encoded
    size_t length;             // of the whole word in the text
};

// The encoded word that stands at the beginning of `text`. Tolerates what is common: blanks and "?" inside a "Q"
// word, a missing last "=" (at the end of the text, and of "B" before a blank), more than 75 characters, lower case,
// an empty charset. The search for the end of a word stops where another one begins, so that trying each "=?" of a
// text in turn is linear.
[[nodiscard]] std::optional<EncodedWord> encodedWordAt(std::string_view text);

// Whether an encoded word stands anywhere in `text`.
[[nodiscard]] bool hasEncodedWord(std::string_view text);

// What header text is converted with.
struct HeaderText {
    const EmlMimeConvert* convert;
    std::string_view fallbackCharset;  // of raw 8-bit text that is not UTF-8; may be empty: windows-1252
};

// Appends `text` (an unstructured value, a phrase, a comment's inside: unfolded or not) as UTF-8: folding undone
// (each line end is dropped, the blanks after it stay), encoded words decoded, raw 8-bit text by appendGuessed,
// NUL and other control characters kept except CR and LF. Line ends that an encoded word decodes to become blanks.
// A word in a charset that nobody knows is decoded when its text is UTF-8 or US-ASCII all the same, and stays as it
// is written otherwise.
void appendDecoded(std::string_view text, const HeaderText& how, TextBuilder& out);

// The same with blanks at both ends removed.
void appendDecodedTrimmed(std::string_view text, const HeaderText& how, TextBuilder& out);

}  // namespace eml
