// The two encodings of encoded words (RFC 2047 section 4), as tolerant as mail needs them. Pure: whole words in,
// bytes out. A sink is one of bytes/sink.h.
#pragma once

#include <string_view>

#include "bytes/ascii.h"
#include "bytes/decode_tables.h"
#include "bytes/sink.h"

namespace eml {

// "Q". "_" is a blank; "=" without two digits after it stays as it stands; line ends are left out.
template <class Sink>
void decodeWordQ(std::string_view word, Sink& sink) {
    for (size_t i = 0; i < word.size(); ++i) {
        auto byte = static_cast<uint8_t>(word[i]);
        if (isLineEnd(byte)) continue;
        if (byte == '_') byte = ' ';
        if (byte == '=' && word.size() - i > 2) {
            const uint8_t high = kHexTable[static_cast<uint8_t>(word[i + 1])];
            const uint8_t low = kHexTable[static_cast<uint8_t>(word[i + 2])];
            if (high != kInvalidDigit && low != kInvalidDigit) {
                byte = static_cast<uint8_t>(high << 4 | low);
                i += 2;
            }
        }
        if (!putByte(sink, byte)) return;
    }
}

// "B", over a run of words. Padding may be missing or stand in the middle, the alphabet for URLs (RFC 4648 section
// 5) is read as well, and foreign characters are left out.
//
// Some programs encode first and cut afterwards, so that a group of four digits goes on in the next word. A group
// that is incomplete at the end of a word is taken so when it cannot stand alone: one digit, or bits that are not
// zero below the last whole byte.
class WordBase64 {
  public:
    template <class Sink>
    void decode(std::string_view word, Sink& sink) {
        if (have_ != 0 && !cutInGroup()) reset();
        for (const char character : word) {
            const auto byte = static_cast<uint8_t>(character);
            const uint8_t digit = digitOf(byte);
            if (byte == '=') reset();
            if (digit == kInvalidDigit) continue;
            bits_ = bits_ << 6 | digit;
            ++have_;
            if (have_ > 1 && !putByte(sink, static_cast<uint8_t>(bits_ >> spareBits() & 0xFF))) return;
            if (have_ == 4) reset();
        }
    }

  private:
    static uint8_t digitOf(uint8_t byte) {
        if (byte == '-') return kBase64Table['+'];
        if (byte == '_') return kBase64Table['/'];
        return kBase64Table[byte];
    }

    // Bits after the last whole byte: 6, 4, 2, 0 after one to four digits.
    [[nodiscard]] uint32_t spareBits() const { return (4 - have_) * 2; }

    [[nodiscard]] bool cutInGroup() const { return have_ == 1 || (bits_ & ((1u << spareBits()) - 1)) != 0; }

    void reset() {
        bits_ = 0;
        have_ = 0;
    }

    uint32_t bits_ = 0;
    uint32_t have_ = 0;  // digits of the group so far
};

}  // namespace eml
