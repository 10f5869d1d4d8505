// Text of a named charset into valid UTF-8. UTF-8, US-ASCII, ISO-8859-1 and windows-1252 are known here; every
// other label is the host's.
#pragma once

#include <emlreader/eml_mime.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "bytes/sink.h"
#include "mime/text_builder.h"

namespace eml {

enum class KnownCharset : uint8_t {
    kUtf8,         // "utf-8", "utf8", ...
    kAscii,        // "us-ascii", "ascii", ...: 8-bit bytes do not fit it
    kWindows1252,  // also "iso-8859-1", "latin1": what mail so labelled holds
    kOther,        // the host may know it
};

// Labels are compared by their letters and digits, whatever the case: "UTF_8" is "utf-8".
[[nodiscard]] KnownCharset knownCharset(std::string_view label);

// Labels by which a program says that it does not know the charset: "unknown-8bit" (RFC 1428), "x-unknown". The text
// is to be guessed, as without a label.
[[nodiscard]] bool isLabelOfUnknown(std::string_view label);

// Labels of charsets that write every character in seven bits, as ISO-2022-JP (RFC 1468) does: 8-bit bytes do not
// fit them.
[[nodiscard]] bool isSevenBitCharset(std::string_view label);

// True when all bytes are UTF-8 (RFC 3629: no surrogates, nothing overlong, nothing above U+10FFFF).
[[nodiscard]] bool isUtf8(std::string_view bytes);

// True when no byte is above 127.
[[nodiscard]] bool isAscii(std::string_view bytes);

// Whether text that arrives in pieces is UTF-8.
class Utf8Check {
  public:
    void feed(std::string_view piece);
    // The text has ended: true when all of it was UTF-8.
    [[nodiscard]] bool finish() const { return valid_ && cutLength_ == 0; }
    [[nodiscard]] bool has8Bit() const { return has8Bit_; }

  private:
    std::array<uint8_t, 4> cut_{};  // the beginning of a character that the last piece did not complete
    uint8_t cutLength_ = 0;
    bool valid_ = true;
    bool has8Bit_ = false;
};

// What one conversion met.
struct ConversionOutcome {
    bool unknownCharset;  // bytes were left as they are
    uint64_t replaced;    // sequences that became U+FFFD
};

// One conversion, fed in pieces of any size. A character may be cut between pieces.
class TextConversion {
  public:
    // `host` may be NULL. A label of more than kMaxLabel bytes is unknown.
    TextConversion(const EmlMimeConvert* host, std::string_view label);
    ~TextConversion();
    TextConversion(const TextConversion&) = delete;
    TextConversion& operator=(const TextConversion&) = delete;

    // Converts a piece; with `last` what is cut off at the end becomes U+FFFD. Sink is any sink of bytes/sink.h.
    template <class Sink>
    void feed(std::string_view piece, bool last, Sink& sink) {
        std::array<uint8_t, kStepRoom> step;
        for (;;) {
            const size_t before = piece.size();
            const size_t written = convertSome(piece, last, step.data(), step.size());
            if (!putAll(step.data(), written, sink)) return;
            if (piece.empty() && written == 0 && before == 0) return;
        }
    }

    [[nodiscard]] const ConversionOutcome& outcome() const { return outcome_; }

    static constexpr size_t kMaxLabel = 63;

  private:
    static constexpr size_t kStepRoom = 2048;
    static constexpr size_t kCarry = 64;           // bytes that a host may leave for later
    static constexpr uint32_t kMaxIdleCalls = 16;  // calls of a host in a row that write and use nothing

    // Converts from the front of `piece`, and takes off what it has used. Gives the bytes written. Uses or writes at
    // least one byte unless there is nothing more to do.
    [[nodiscard]] size_t convertSome(std::string_view& piece, bool last, uint8_t* out, size_t room);
    [[nodiscard]] size_t convertUtf8(std::string_view& piece, bool last, uint8_t* out, size_t room);
    [[nodiscard]] bool completeCharacter(std::string_view& piece, bool last, uint8_t*& out);
    [[nodiscard]] size_t convertBytes(std::string_view& piece, uint8_t* out, size_t room);
    [[nodiscard]] size_t convertByHost(std::string_view& piece, bool last, uint8_t* out, size_t room);
    [[nodiscard]] size_t convertCarried(std::string_view& piece, bool last, uint8_t* out, size_t room);
    struct HostStep {
        size_t used;
        size_t written;
    };
    [[nodiscard]] HostStep callHost(const uint8_t* source, size_t length, bool last, uint8_t* out,
                                    size_t room);
    [[nodiscard]] size_t giveUp(std::string_view& piece, uint8_t* out);
    void openHost(std::string_view label);

    template <class Sink>
    static bool putAll(const uint8_t* bytes, size_t count, Sink& sink) {
        while (count != 0) {
            const OutputSpan space = sink.space();
            const size_t now = std::min(count, space.size());
            if (now == 0) return false;
            std::memcpy(space.begin, bytes, now);
            sink.commit(space.begin + now);
            bytes += now;
            count -= now;
        }
        return true;
    }

    const EmlMimeConvert* host_;
    void* conversion_ = nullptr;  // the host's
    ConversionOutcome outcome_{};
    KnownCharset charset_;
    bool hostEnded_ = false;
    uint32_t idleCalls_ = 0;
    size_t carryLength_ = 0;
    std::array<uint8_t, kCarry> carry_{};  // used by `feed` already, not converted yet
};

// 8-bit text without a usable label: UTF-8 if all of it is, else the charset `label` if one is given and known and
// not UTF-8 or US-ASCII, else windows-1252. Appends UTF-8.
void appendGuessed(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                   TextBuilder& text);

// The same of text that is known not to be UTF-8.
void appendGuessedNotUtf8(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                          TextBuilder& text);

// Text of charset `label` in one piece. US-ASCII with 8-bit bytes is guessed.
ConversionOutcome appendConverted(std::string_view bytes, std::string_view label, const EmlMimeConvert* host,
                                  TextBuilder& text);

}  // namespace eml
