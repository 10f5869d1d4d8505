// Base64 after its padding: pieces that were joined go on, and a text that a mailing list or a gateway has added
// does not. A line is looked at as a whole before any of it is decoded.
#pragma once

#include <array>

#include "bytes/ascii.h"
#include "bytes/decode_tables.h"

namespace eml {

class LineAfterPadding {
  public:
    // So many digits and "=" in a row are data, whatever comes after them.
    static constexpr size_t kMax = 256;
    static constexpr uint8_t kPadding = 0xFE;  // "=" among the digits

    enum class Verdict : uint8_t {
        kWait,
        kData,     // what is held is data
        kForeign,  // what is held is none, and the rest of the line neither
    };

    // A byte that is no line end; `digit` is its value, kPadding or kInvalidDigit. Blanks may stand around what is
    // held, not inside.
    [[nodiscard]] Verdict feed(uint8_t byte, uint8_t digit, uint64_t place) {
        if (isBlank(byte)) {
            ended_ = count_ != 0;
            return Verdict::kWait;
        }
        if (foreign_ || ended_ || digit == kInvalidDigit) return Verdict::kForeign;
        if (count_ == 0) place_ = place;
        held_[count_++] = digit;
        return count_ == kMax ? Verdict::kData : Verdict::kWait;
    }

    // Nothing but blanks so far.
    [[nodiscard]] bool isEmpty() const { return count_ == 0 && !foreign_; }

    [[nodiscard]] size_t count() const { return count_; }
    [[nodiscard]] uint8_t digit(size_t index) const { return held_[index]; }
    [[nodiscard]] uint64_t place(size_t index) const { return place_ + index; }

    // What is held is done with; `foreign`: the rest of the line is none either.
    void clear(bool foreign) {
        count_ = 0;
        ended_ = false;
        foreign_ = foreign;
    }

  private:
    std::array<uint8_t, kMax> held_{};
    size_t count_ = 0;
    uint64_t place_ = 0;    // of the first byte that is held
    bool ended_ = false;    // a blank has followed
    bool foreign_ = false;  // this line is no data
};

}  // namespace eml
