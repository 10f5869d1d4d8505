// Text of a named charset into valid UTF-8. UTF-8, US-ASCII, ISO-8859-1 and windows-1252 are known here; every
// other label is the host's.
#pragma once

#include <emlreader/eml_mime.h>

#include <string_view>

#include "mime/text_builder.h"

namespace eml {

enum class KnownCharset : uint8_t {
    kUtf8,         // "utf-8", "utf8", ...
    kAscii,        // "us-ascii", "ascii", ...: 8-bit bytes do not fit it
    kWindows1252,  // also "iso-8859-1", "latin1": what mail so labelled holds
    kOther,        // the host may know it
};

[[nodiscard]] KnownCharset knownCharset(std::string_view label);

// True when all bytes are UTF-8 (RFC 3629: no surrogates, nothing overlong, nothing above U+10FFFF).
[[nodiscard]] bool isUtf8(std::string_view bytes);

// True when no byte is above 127.
[[nodiscard]] bool isAscii(std::string_view bytes);

// What one conversion met.
struct ConversionOutcome {
    bool unknownCharset;  // bytes were left as they are
    uint64_t replaced;    // sequences that became U+FFFD
};

// One conversion, fed in pieces of any size. A character may be cut between pieces.
class TextConversion {
  public:
    // `host` may be NULL. `label` is copied as far as it matters.
    TextConversion(const EmlMimeConvert* host, std::string_view label);
    ~TextConversion();
    TextConversion(const TextConversion&) = delete;
    TextConversion& operator=(const TextConversion&) = delete;

    // Converts a piece; with `last` what is cut off at the end becomes U+FFFD. Sink is any sink of bytes/sink.h;
    // a template in text_conversion.h calls convertSome until the piece is used up.
    template <class Sink>
    void feed(std::string_view piece, bool last, Sink& sink);

    [[nodiscard]] const ConversionOutcome& outcome() const { return outcome_; }

  private:
    ConversionOutcome outcome_{};
    // (members: to be completed by the implementation)
};

// 8-bit text without a usable label: UTF-8 if all of it is, else the charset `label` if one is given and known,
// else windows-1252. Appends UTF-8.
void appendGuessed(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                   TextBuilder& text);

// Text of charset `label` in one piece.
ConversionOutcome appendConverted(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                                  TextBuilder& text);

}  // namespace eml
