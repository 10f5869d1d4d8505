// ISO-2022-JP text in a form that iconv reads well.
#ifndef EMLREADER_STANDALONE_ISO_2022_JP_H
#define EMLREADER_STANDALONE_ISO_2022_JP_H

#include <cstddef>
#include <string>
#include <string_view>

namespace emlhost {

// Rewrites ISO-2022-JP as EUC-JP: the same characters without escape sequences.
//
// Mail programs write more under this label than the standard has: half-width kana and the vendor characters
// of rows 13 and 89 to 92. iconv's ISO-2022-JP stops at those; its EUC-JP-MS has them all. Invalid text
// becomes the byte 0xFF, which no EUC-JP character contains. Throws std::bad_alloc.
std::string eucFromIso2022Jp(std::string_view text);

// The same of text that arrives in pieces.
class Iso2022JpReader {
  public:
    // The character sets that an escape sequence selects, by what stands before a character in EUC-JP.
    enum class Set { kAscii, kKana, kKanji, kSupplementaryKanji };

    // Appends what the front of `text` is, and gives the bytes used. The beginning of a character or of an escape
    // sequence at the end is left unless the text is the last.
    size_t read(std::string_view text, bool last, std::string& euc);

  private:
    Set set_ = Set::kAscii;
};

}  // namespace emlhost

#endif
