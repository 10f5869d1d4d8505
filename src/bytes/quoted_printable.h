// The quoted-printable decoder (RFC 2045 section 6.7, RFC 2047 "Q"): one state machine for all uses, fed in
// pieces of any size.
//
// It never fails. An invalid digit counts as 0x7F, and so does a missing one: "=G1" gives 0xF1,
// "=1G" gives 0x7F, a last "=" gives 0xFF. "=" before a line end is a soft line break.
#pragma once

#include <algorithm>
#include <cstring>

#include "bytes/ascii.h"
#include "bytes/decode_kernels.h"
#include "bytes/decode_tables.h"
#include "bytes/decoder_marks.h"
#include "bytes/quoted_stop.h"
#include "bytes/sink.h"

namespace eml {

// What the uses of the decoder do differently.
struct QuotedPrintableRules {
    bool byteFFEndsInput;        // a byte 0xFF counts as the end of the data
    bool dropDecodedCr;          // "=0D" gives nothing
    bool joinAfterDecodedBlank;  // "=20" before CR swallows the CR and the byte after it
    bool repeatDigitAtEnd;       // "=20" at the very end gives " 0"
};

// KEPT: the container reader reads signed bytes and takes -1 for the end of the data.
inline constexpr QuotedPrintableRules kContainerStream{.byteFFEndsInput = true,
                                                       .dropDecodedCr = false,
                                                       .joinAfterDecodedBlank = false,
                                                       .repeatDigitAtEnd = false};
// KEPT: decoded CR is dropped, "=20" CR LF joins lines, and the last digit of a final "=20" is read a second
// time.
inline constexpr QuotedPrintableRules kContainerBuffer{
    .byteFFEndsInput = true, .dropDecodedCr = true, .joinAfterDecodedBlank = true, .repeatDigitAtEnd = true};

// KEPT: text of the filter joins lines after "=20" and drops decoded CR, its extraction does neither.
inline constexpr QuotedPrintableRules kFilterText{.byteFFEndsInput = false,
                                                  .dropDecodedCr = true,
                                                  .joinAfterDecodedBlank = true,
                                                  .repeatDigitAtEnd = false};
inline constexpr QuotedPrintableRules kFilterExtract{.byteFFEndsInput = false,
                                                     .dropDecodedCr = false,
                                                     .joinAfterDecodedBlank = false,
                                                     .repeatDigitAtEnd = false};

// What a block of text is shorter by when it is decoded.
struct QuotedBlock {
    uint8_t skipped;
    uint8_t
        mustBeRead;  // not 0: an escape of a byte that some rule touches, or two that overlap, may be in it
};

inline constexpr ptrdiff_t kQuotedBlock = 64;

// Of the kQuotedBlock bytes at `pos`; two more are looked at. Without branches, for compilers to make wide.
[[nodiscard]] inline QuotedBlock countQuotedBlock(const uint8_t* pos) {
    const auto is = [](uint8_t byte, uint8_t other) { return static_cast<uint8_t>(byte == other); };
    uint8_t skipped = 0;
    uint8_t mustBeRead = 0;
    for (ptrdiff_t i = 0; i < kQuotedBlock; ++i) {
        const uint8_t equals = is(pos[i], '=');
        const uint8_t first = pos[i + 1];
        const uint8_t second = pos[i + 2];
        const auto pair = static_cast<uint8_t>(is(first, kCr) & is(second, kLf));
        const auto blank = static_cast<uint8_t>(is(first, '2') & is(second, '0'));
        const auto cr = static_cast<uint8_t>(is(first, '0') & (is(second, 'D') | is(second, 'd')));
        const auto overlap = static_cast<uint8_t>(is(first, '=') | is(second, '='));
        skipped = static_cast<uint8_t>(skipped + (equals & pair) + equals + equals);
        mustBeRead = static_cast<uint8_t>(mustBeRead | (equals & (blank | cr | overlap)));
    }
    return {skipped, mustBeRead};
}

template <QuotedPrintableRules R>
class QuotedPrintableDecoder {
  public:
    // With `underscoreIsSpace` an "_" that stands in the text is a blank.
    explicit QuotedPrintableDecoder(bool underscoreIsSpace, const DecodeKernels& kernels = kPlainKernels)
        : kernels_(kernels), underscoreIsSpace_(underscoreIsSpace) {}

    // True when nothing that follows can be decoded: the data has ended, or the sink has failed.
    [[nodiscard]] bool ended() const { return ended_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        if (ended_ || pos == end) return;
        bool endByteSeen = false;
        if constexpr (R.byteFFEndsInput) {
            const void* endByte = std::memchr(pos, 0xFF, static_cast<size_t>(end - pos));
            endByteSeen = endByte != nullptr;
            if (endByteSeen) end = static_cast<const uint8_t*>(endByte);
        }
        while (pos < end && !ended_) pos = step(pos, end, sink);
        if (!endByteSeen || ended_) return;
        finishEscape(sink);
        ended_ = true;
    }

    // As feed, but only adds up how many bytes it would give: to a sink that needs no room of its own.
    template <class CountingSink>
    void count(const uint8_t* pos, const uint8_t* end, CountingSink& sink) {
        static_assert(!R.byteFFEndsInput, "not looked for");
        while (pos < end && !ended_) {
            pos = state_ == State::kText ? countText(pos, end, sink) : step(pos, end, sink);
        }
    }

    // The data has ended.
    template <class Sink>
    void finish(Sink& sink) {
        if (ended_) return;
        if constexpr (R.repeatDigitAtEnd) {
            if (state_ == State::kBlank) put('0', sink);
        }
        finishEscape(sink);
        ended_ = true;
    }

    // Where the decoder stands, as long as it has not ended; and to go on from there.
    [[nodiscard]] QuotedPrintableMark mark() const { return {state_, digit_}; }
    void resume(const QuotedPrintableMark& mark) {
        state_ = mark.state;
        digit_ = mark.digit;
    }

  private:
    using State = QuotedPrintableState;

    // Looks at one byte, or at a whole run of text. Returns the position after what was used.
    template <class Sink>
    const uint8_t* step(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        switch (state_) {
            case State::kText:
                return copyText(pos, end, sink);
            case State::kEquals:
                digit_ = *pos;
                state_ = digit_ == kLf ? State::kText : digit_ == kCr ? State::kSoftCr : State::kDigit;
                return pos + 1;
            case State::kDigit:
                state_ = State::kText;
                putDecoded(kHexTable[digit_], kHexTable[*pos], sink);
                return pos + 1;
            case State::kSoftCr:
                state_ = State::kText;
                return *pos == kLf ? pos + 1 : pos;
            case State::kBlank:
                state_ = *pos == kCr ? State::kBlankCr : State::kText;
                return *pos == kCr ? pos + 1 : pos;
            case State::kBlankCr:
                break;
        }
        state_ = State::kText;
        return pos + 1;
    }

    // Copies up to the next "=" that is not a plain escape or a soft line break; it is used as well.
    template <class Sink>
    const uint8_t* copyText(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        const OutputSpan space = sink.space();
        if (space.begin == space.end) {
            ended_ = true;
            return end;
        }
        const uint8_t* const stop = pos + std::min(static_cast<size_t>(end - pos), space.size());
        uint8_t* out = space.begin;
        pos = kernels_.quotedText(pos, stop, stops(), out);
        sink.commit(out);
        if (pos == stop) return pos;
        state_ = State::kEquals;
        return pos + 1;
    }

    // As copyText.
    template <class CountingSink>
    const uint8_t* countText(const uint8_t* pos, const uint8_t* end, CountingSink& sink) {
        const uint8_t* const begin = pos;
        size_t skipped = 0;
        bool passed = true;
        while (passed && pos < end) {
            const bool isBlock = end - pos >= kQuotedBlock + 2;
            const QuotedBlock block = isBlock ? countQuotedBlock(pos) : QuotedBlock{0, 1};
            if (block.mustBeRead == 0) {
                pos += kQuotedBlock;
                skipped += block.skipped;
            } else {
                passed = countEscapes(pos, isBlock ? pos + kQuotedBlock : end, end, skipped);
            }
        }
        sink.add(static_cast<size_t>(pos - begin) - skipped);
        if (passed) return pos;
        state_ = State::kEquals;
        return pos + 1;
    }

    // Passes the escapes that begin before `stop`. False at one that the state machine has to look at.
    bool countEscapes(const uint8_t*& pos, const uint8_t* stop, const uint8_t* end, size_t& skipped) const {
        while (pos < stop) {
            const auto* found =
                static_cast<const uint8_t*>(std::memchr(pos, '=', static_cast<size_t>(stop - pos)));
            if (found == nullptr) break;
            uint8_t byte = 0;
            uint8_t* out = &byte;
            pos = found;
            if (!passQuotedStop(pos, end, stops(), out)) return false;
            skipped += static_cast<size_t>((pos - found) - (out - &byte));
        }
        pos = std::max(pos, stop);
        return true;
    }

    [[nodiscard]] QuotedStops stops() const {
        return {underscoreIsSpace_, R.dropDecodedCr ? kCr : QuotedStops::kNone,
                R.joinAfterDecodedBlank ? uint16_t{' '} : QuotedStops::kNone};
    }

    template <class Sink>
    void putDecoded(uint8_t high, uint8_t low, Sink& sink) {
        const uint8_t byte = escapedByte(high, low);
        if (R.dropDecodedCr && byte == kCr) return;
        put(byte, sink);
        if (R.joinAfterDecodedBlank && byte == ' ') state_ = State::kBlank;
    }

    // The data ends in an escape: the digits that are missing count as invalid ones.
    template <class Sink>
    void finishEscape(Sink& sink) {
        if (state_ == State::kEquals) putDecoded(kInvalidDigit, kInvalidDigit, sink);
        if (state_ == State::kDigit) putDecoded(kHexTable[digit_], kInvalidDigit, sink);
    }

    template <class Sink>
    void put(uint8_t byte, Sink& sink) {
        if (!putByte(sink, byte)) ended_ = true;
    }

    const DecodeKernels& kernels_;
    State state_ = State::kText;
    uint8_t digit_ = 0;
    bool underscoreIsSpace_;
    bool ended_ = false;
};

}  // namespace eml
