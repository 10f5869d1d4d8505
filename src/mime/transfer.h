// Base64 and quoted-printable as mail has them (RFC 2045 sections 6.7 and 6.8), fed in pieces of any size. They
// take the reading that loses nothing, and count what breaks a rule. The decoders of the other readers (bytes/)
// differ in their control flow, and share tables and kernels.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>

#include "bytes/ascii.h"
#include "bytes/decode_kernels.h"
#include "bytes/decode_tables.h"
#include "bytes/quoted_stop.h"
#include "bytes/sink.h"
#include "mime/decode_problems.h"
#include "mime/line_after_padding.h"

namespace eml {

// The place in the file of what is fed to a decoder.
class FilePlace {
  public:
    // The next piece begins at `offset`; without this call it follows the piece before.
    void at(uint64_t offset) { offset_ = offset; }

  protected:
    void beginPiece(const uint8_t* pos) { piece_ = pos; }
    void endPiece(const uint8_t* end) { offset_ = placeOf(end); }

    [[nodiscard]] uint64_t placeOf(const uint8_t* pos) const {
        return offset_ + static_cast<uint64_t>(pos - piece_);
    }
    // After the last piece.
    [[nodiscard]] uint64_t endPlace() const { return offset_; }

  private:
    const uint8_t* piece_ = nullptr;
    uint64_t offset_ = 0;
};

// Base64. Padding ends a group, and more may follow: joined pieces are decoded one after the other. After padding a
// line (or the rest of one) that holds anything but digits and "=" is a foreign text and left out. "-" and "_" are
// digits (RFC 4648 section 5) until "+" or "/" has occurred, after padding only where they have been digits before.
// A group cut off at the end gives what it holds.
class MailBase64 : public FilePlace {
  public:
    MailBase64(const DecodeKernels& kernels, DecodeProblems& problems)
        : kernels_(kernels), problems_(problems) {}

    // The sink has failed.
    [[nodiscard]] bool ended() const { return ended_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        beginPiece(pos);
        const uint8_t* const standard = standardSeen_ ? pos : findStandard(pos, end);
        while (pos < end && !ended_) {
            if (have_ == 0 && !padded_) pos = feedWholeGroups(pos, end, sink);
            if (pos == end) break;
            feedByte(*pos, pos >= standard, placeOf(pos), sink);
            ++pos;
        }
        standardSeen_ = standardSeen_ || standard != end;
        endPiece(end);
    }

    template <class Sink>
    void finish(Sink& sink) {
        takeHeld(sink);
        if (have_ >= 2) putGroup(sink);
        if (have_ >= 2 || missing_ != 0) problems_.base64Padding.note(endPlace());
        if (have_ == 1) problems_.base64CutOff.note(groupPlace_);
        have_ = 0;
    }

  private:
    // The first "+" or "/", or `end`.
    static const uint8_t* findStandard(const uint8_t* pos, const uint8_t* end) {
        for (const uint8_t digit : {uint8_t{'/'}, uint8_t{'+'}}) {
            if (pos == end) break;
            const void* const found = std::memchr(pos, digit, static_cast<size_t>(end - pos));
            if (found != nullptr) end = static_cast<const uint8_t*>(found);
        }
        return end;
    }

    template <class Sink>
    const uint8_t* feedWholeGroups(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        const OutputSpan space = sink.space();
        uint8_t* out = space.begin;
        pos = kernels_.base64Lines(pos, end, out, space.end);
        sink.commit(out);
        return pos;
    }

    [[nodiscard]] static uint8_t digitOf(uint8_t byte, bool standard) {
        if (!standard && byte == '-') return 62;
        if (!standard && byte == '_') return 63;
        return kBase64Table[byte];
    }

    template <class Sink>
    void feedByte(uint8_t byte, bool standard, uint64_t place, Sink& sink) {
        if (padded_) return feedAfterPadding(byte, standard || !urlSeen_, place, sink);
        if (byte == '=') return feedPadding(place, sink);
        const uint8_t digit = digitOf(byte, standard);
        if (digit == kInvalidDigit) {
            if (!isBlank(byte) && !isLineEnd(byte)) problems_.base64Character.note(place);
            return;
        }
        urlSeen_ = urlSeen_ || byte == '-' || byte == '_';
        feedDigit(digit, place, sink);
    }

    template <class Sink>
    void feedDigit(uint8_t digit, uint64_t place, Sink& sink) {
        if (padded_) problems_.base64Padding.note(place);
        padded_ = false;
        missing_ = 0;
        if (have_ == 0) groupPlace_ = place;
        group_ = group_ << 6 | digit;
        if (++have_ < 4) return;
        putGroup(sink);
        have_ = 0;
    }

    template <class Sink>
    void feedAfterPadding(uint8_t byte, bool standard, uint64_t place, Sink& sink) {
        if (isLineEnd(byte)) return takeHeld(sink);
        if (byte == '=' && line_.isEmpty()) return feedPadding(place, sink);
        const uint8_t digit = byte == '=' ? LineAfterPadding::kPadding : digitOf(byte, standard);
        switch (line_.feed(byte, digit, place)) {
            case LineAfterPadding::Verdict::kWait:
                return;
            case LineAfterPadding::Verdict::kData:
                return takeHeld(sink);
            case LineAfterPadding::Verdict::kForeign:
                break;
        }
        const size_t held = line_.count();
        problems_.base64Character.note(held != 0 ? line_.place(0) : place, held + 1);
        line_.clear(true);
    }

    // The line that is held is data.
    template <class Sink>
    void takeHeld(Sink& sink) {
        for (size_t i = 0; i < line_.count() && !ended_; ++i) {
            if (line_.digit(i) == LineAfterPadding::kPadding) {
                feedPadding(line_.place(i), sink);
            } else {
                feedDigit(line_.digit(i), line_.place(i), sink);
            }
        }
        line_.clear(false);
    }

    // "=": it completes a group, or stands where none is wanted.
    template <class Sink>
    void feedPadding(uint64_t place, Sink& sink) {
        if (have_ >= 2) {
            putGroup(sink);
            missing_ = 3 - have_;
            have_ = 0;
            padded_ = true;
        } else if (missing_ != 0) {
            --missing_;
        } else {
            problems_.base64Padding.note(place);
        }
    }

    // The bytes that the digits of the group make up.
    template <class Sink>
    void putGroup(Sink& sink) {
        const uint32_t bits = group_ << (6 * (4 - have_));
        for (uint32_t i = 0; i + 1 < have_ && !ended_; ++i) {
            if (!putByte(sink, static_cast<uint8_t>(bits >> (16 - 8 * i) & 0xFF))) ended_ = true;
        }
        group_ = 0;
    }

    const DecodeKernels& kernels_;
    DecodeProblems& problems_;
    uint64_t groupPlace_ = 0;
    uint32_t group_ = 0;
    uint32_t have_ = 0;     // digits of the group so far
    uint32_t missing_ = 0;  // "=" that must still come
    LineAfterPadding line_;
    bool padded_ = false;        // after "=": another digit is another piece
    bool standardSeen_ = false;  // "+" or "/" has occurred
    bool urlSeen_ = false;       // "-" or "_" has been a digit
    bool ended_ = false;
};

// Quoted-printable. An escape without two digits stays as it stands. Blanks may stand between "=" and the line
// end of a soft line break. Blanks at the end of a line stay.
class MailQuotedPrintable : public FilePlace {
  public:
    MailQuotedPrintable(const DecodeKernels& kernels, DecodeProblems& problems)
        : kernels_(kernels), problems_(problems) {}

    // The sink has failed.
    [[nodiscard]] bool ended() const { return ended_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        beginPiece(pos);
        while (pos < end && !ended_) pos = step(pos, end, sink);
        endPiece(end);
    }

    // "=" as the last byte is a soft line break whose line end belongs to the delimiter that follows.
    template <class Sink>
    void finish(Sink& sink) {
        if (state_ == State::kDigit) putLiteral(sink);
        state_ = State::kText;
    }

    // So many blanks may stand between "=" and the line end; a line has at most 76 characters.
    static constexpr size_t kMaxBlanks = 80;

  private:
    enum class State : uint8_t {
        kText,
        kEquals,  // after "="
        kDigit,   // after "=" and one digit
        kBlanks,  // after "=" and blanks
        kSoftCr,  // after "=" CR: an LF still belongs to the soft line break
    };

    // Looks at one byte, or at a whole run of text. Gives the position after what was used.
    template <class Sink>
    const uint8_t* step(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        switch (state_) {
            case State::kText:
                return copyText(pos, end, sink);
            case State::kEquals:
            case State::kBlanks:
                return afterEquals(pos, sink);
            case State::kDigit:
                if (kHexTable[*pos] == kInvalidDigit) {
                    putLiteral(sink);
                    return pos;
                }
                state_ = State::kText;
                put(escapedByte(kHexTable[held_[1]], kHexTable[*pos]), sink);
                return pos + 1;
            case State::kSoftCr:
                break;
        }
        state_ = State::kText;
        return *pos == kLf ? pos + 1 : pos;
    }

    // After "=", or after "=" and blanks.
    template <class Sink>
    const uint8_t* afterEquals(const uint8_t* pos, Sink& sink) {
        const uint8_t byte = *pos;
        if (isLineEnd(byte)) {
            state_ = byte == kCr ? State::kSoftCr : State::kText;
            return pos + 1;
        }
        const bool digit = state_ == State::kEquals && kHexTable[byte] != kInvalidDigit;
        if (!digit && (!isBlank(byte) || heldCount_ == held_.size())) {
            putLiteral(sink);
            return pos;
        }
        held_[heldCount_++] = byte;
        state_ = digit ? State::kDigit : State::kBlanks;
        return pos + 1;
    }

    // Copies up to the next "=" that is not a plain escape or a soft line break; it is used as well.
    template <class Sink>
    const uint8_t* copyText(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        constexpr QuotedStops kNoStops{false, QuotedStops::kNone, QuotedStops::kNone};
        const OutputSpan space = sink.space();
        if (space.begin == space.end) {
            ended_ = true;
            return end;
        }
        const uint8_t* const stop = pos + std::min(static_cast<size_t>(end - pos), space.size());
        uint8_t* out = space.begin;
        pos = kernels_.quotedDigits(pos, stop, kNoStops, out);
        sink.commit(out);
        if (pos == stop) return pos;
        state_ = State::kEquals;
        equalsPlace_ = placeOf(pos);
        held_[0] = '=';
        heldCount_ = 1;
        return pos + 1;
    }

    // What looked like an escape is none.
    template <class Sink>
    void putLiteral(Sink& sink) {
        problems_.quotedEscape.note(equalsPlace_);
        for (size_t i = 0; i < heldCount_; ++i) put(held_[i], sink);
        state_ = State::kText;
    }

    template <class Sink>
    void put(uint8_t byte, Sink& sink) {
        if (!ended_ && !putByte(sink, byte)) ended_ = true;
    }

    const DecodeKernels& kernels_;
    DecodeProblems& problems_;
    uint64_t equalsPlace_ = 0;
    std::array<uint8_t, 1 + kMaxBlanks> held_{};  // "=" and what followed it
    size_t heldCount_ = 0;
    State state_ = State::kText;
    bool ended_ = false;
};

}  // namespace eml
