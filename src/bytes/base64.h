// The base64 decoder (RFC 2045 section 6.8): one state machine for both readers, fed in pieces of any size.
//
// It never fails. Bytes outside the alphabet are skipped, a group that the data does not complete is dropped,
// a "-" where a group would begin ends the data (the dashes of the boundary that follows a body), and after
// the first "=" nothing is decoded any more.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>

#include "bytes/ascii.h"
#include "bytes/decode_kernels.h"
#include "bytes/decode_tables.h"
#include "bytes/decoder_marks.h"
#include "bytes/sink.h"

namespace eml {

// What the readers' decoders do differently.
struct Base64Rules {
    bool byteFFEndsInput;  // a byte 0xFF counts as the end of the data
};

// KEPT: the container reader reads signed bytes and takes -1 for the end of the data.
inline constexpr Base64Rules kContainerBase64{.byteFFEndsInput = true};
inline constexpr Base64Rules kFilterBase64{.byteFFEndsInput = false};

template <Base64Rules R>
class Base64Decoder {
  public:
    // With `dropCr` every decoded CR is left out.
    explicit Base64Decoder(bool dropCr, const DecodeKernels& kernels = kPlainKernels)
        : kernels_(kernels), dropCr_(dropCr) {}

    // True when nothing that follows can be decoded: the data has ended, or the sink has failed.
    [[nodiscard]] bool ended() const { return ended_; }

    template <class Sink>
    void feed(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        while (pos < end && !ended_) {
            if (have_ == 0 && !padded_) pos = feedWholeGroups(pos, end, sink);
            if (pos < end) feedByte(*pos++, sink);
        }
    }

    // The data has ended. A group that it does not complete is dropped.
    template <class Sink>
    void finish(Sink& /*sink*/) {
        ended_ = true;
    }

    // Where the decoder stands, as long as it has not ended; and to go on from there.
    [[nodiscard]] Base64Mark mark() const { return {group_, have_, padded_}; }
    void resume(const Base64Mark& mark) {
        group_ = mark.group;
        have_ = mark.have;
        padded_ = mark.padded;
    }

  private:
    // Decodes groups that stand whole, and only of digits, in [pos, end), line ends between them included.
    // Returns the position of the first byte that the state machine has to look at.
    template <class Sink>
    const uint8_t* feedWholeGroups(const uint8_t* pos, const uint8_t* end, Sink& sink) {
        const OutputSpan space = sink.space();
        uint8_t* out = space.begin;
        pos = kernels_.base64Lines(pos, end, out, space.end);
        if (dropCr_) out = removeCr(space.begin, out);
        sink.commit(out);
        return pos;
    }

    // Closes the gaps that CRs leave. Returns the new end.
    static uint8_t* removeCr(uint8_t* begin, uint8_t* end) {
        if (begin == nullptr) return end;  // the sink has failed
        const auto nextCr = [end](uint8_t* pos) {
            auto* cr = static_cast<uint8_t*>(std::memchr(pos, kCr, static_cast<size_t>(end - pos)));
            return cr != nullptr ? cr : end;
        };
        uint8_t* out = nextCr(begin);
        for (uint8_t* cr = out; cr != end;) {
            uint8_t* const run = cr + 1;
            cr = nextCr(run);
            std::memmove(out, run, static_cast<size_t>(cr - run));
            out += cr - run;
        }
        return out;
    }

    template <class Sink>
    void feedByte(uint8_t byte, Sink& sink) {
        if ((have_ == 0 && byte == '-') || (R.byteFFEndsInput && byte == 0xFF)) {
            ended_ = true;
            return;
        }
        if (kBase64Table[byte] == kInvalidDigit && byte != '=') return;
        if (padded_) return;
        group_[have_++] = byte;
        if (have_ < 4) return;
        have_ = 0;
        finishGroup(sink);
    }

    template <class Sink>
    void finishGroup(Sink& sink) {
        const uint32_t a = kBase64Table[group_[0]];
        const uint32_t b = kBase64Table[group_[1]];
        const uint32_t c = kBase64Table[group_[2]];
        const uint32_t d = kBase64Table[group_[3]];
        padded_ = std::find(group_.begin(), group_.end(), '=') != group_.end();
        if (group_[0] == '=' || group_[1] == '=') return;
        put(a << 2 | b >> 4, sink);
        if (group_[2] == '=') return;
        put(b << 4 | c >> 2, sink);
        if (group_[3] != '=') put(c << 6 | d, sink);
    }

    template <class Sink>
    void put(uint32_t value, Sink& sink) {
        const auto byte = static_cast<uint8_t>(value & 0xFF);
        if (dropCr_ && byte == kCr) return;
        if (!ended_ && !putByte(sink, byte)) ended_ = true;
    }

    const DecodeKernels& kernels_;
    std::array<uint8_t, 4> group_{};
    uint32_t have_ = 0;  // characters of the group so far
    bool padded_ = false;
    bool ended_ = false;
    bool dropCr_;
};

}  // namespace eml
