// The control words of RTF that bear on its text, and the code pages of its fonts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace emltool {

enum class RtfAction : uint8_t {
    kCharacter,     // stands for `value`
    kCodePage,      // the document's, `value`; 0: the parameter
    kSkip,          // a group that is no text
    kFontTable,     // the group that declares fonts
    kFont,          // in the font table: declares; elsewhere: chooses
    kDefaultFont,   // the font of text without one
    kFontCharset,   // in the font table
    kFontCodePage,  // in the font table
    kPlain,         // back to the default font
    kUnicode,       // a character by its number
    kUnicodeSkip,   // so many characters after each of those are for readers without Unicode
    kBinary,        // bytes follow
    kHidden,        // text that is not to be seen
    kFromHtml,      // the document was made from HTML
    kRtfOnly,       // text that the HTML does not have
    kHtmlTag,       // a group that only the HTML has
};

struct RtfWord {
    std::string_view name;
    RtfAction action;
    uint32_t value;
};

// NULL for a word that does not bear on the text.
const RtfWord* findRtfWord(std::string_view name);

// The Windows code page of a \fcharset; nothing if it has none of its own.
std::optional<uint32_t> codePageOfFontCharset(int32_t charset);

// The label of a Windows code page.
std::string codePageLabel(uint32_t codePage);

}  // namespace emltool
