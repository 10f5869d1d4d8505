// The host's charset ids (EML_CHARSET_...) as character conversions of iconv.
#ifndef EMLREADER_STANDALONE_CHARSETS_H
#define EMLREADER_STANDALONE_CHARSETS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace emlhost {

// One charset of the host. Texts are read more generously than they are written: mail labelled with the name
// of a standard often holds the vendor's additions to it, while what is written should be what the label
// says.
struct Charset {
    uint32_t id;
    const char* decodeName;  // iconv's name for reading such text
    const char* encodeName;  // iconv's name for writing it
    const char* label;       // the name for people and for MIME headers
};

// The charset with this id, or NULL for 0 and for numbers without meaning.
const Charset* findCharset(uint32_t id) noexcept;

// True when `byte` opens a two-byte character in the charset `id`: in the East Asian code pages 932, 936, 949
// and 950 (Shift_JIS, GB2312, KSC_5601, Big5), and in no other charset.
bool isLeadByte(uint32_t id, uint32_t byte) noexcept;

// Converts text from one charset into another, any number of times. Conversion does not fail for any input:
// each byte that belongs to no character, and a character cut off at the end, becomes the substitute, as does
// a character that the target lacks. An id without charset counts as EML_CHARSET_WESTERN.
//
// EML_CHARSET_UTF_16 is read in the order that its byte order mark says, else with the low byte first, and is
// written with the low byte first and without a mark, since the library writes a text in several pieces.
//
// A converter belongs to one thread at a time.
class Converter {
  public:
    // Throws std::bad_alloc, and std::system_error when iconv's tables for these charsets are not installed.
    Converter(uint32_t fromId, uint32_t toId);
    ~Converter();
    Converter(Converter&&) noexcept;
    Converter& operator=(Converter&&) noexcept;

    uint32_t fromId() const noexcept { return fromId_; }
    uint32_t toId() const noexcept { return toId_; }

    // The whole text converted; each call starts anew. A substitute that the target lacks is written as '?'.
    // Throws std::bad_alloc.
    std::string convert(std::string_view text, char32_t substitute = U'?');

  private:
    class Stage;

    std::wstring decode(std::string_view text, wchar_t substitute);
    std::string encode(const std::wstring& wide, wchar_t substitute);

    uint32_t fromId_;
    uint32_t toId_;
    std::unique_ptr<Stage> decoder_;  // from the source charset to UTF-32
    std::unique_ptr<Stage> encoder_;  // from UTF-32 to the target
};

// One conversion: Converter(fromId, toId).convert(text, substitute).
std::string convert(std::string_view text, uint32_t fromId, uint32_t toId, char32_t substitute = U'?');

}  // namespace emlhost

#endif
