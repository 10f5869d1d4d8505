// Runs a decoder over an input in every way in which input can arrive and output can be taken.
#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include "bytes/sink.h"
#include "reference/bytes.h"

namespace decoder_runs {

using reference::Bytes;

inline constexpr size_t kNoLimit = static_cast<size_t>(-1);

// Takes at most `limit` bytes, `atOnce` at a time. What it offers ends where its block ends, so that a byte
// too many is seen by the address sanitizer; after the limit it offers nothing, as a sink that has failed.
class RoomSink {
  public:
    RoomSink(size_t atOnce, size_t limit) : atOnce_(atOnce), left_(limit), room_(new uint8_t[atOnce]) {}

    eml::OutputSpan space() {
        const size_t size = std::min(atOnce_, left_);
        begin_ = room_.get() + (atOnce_ - size);
        return {begin_, begin_ + size};
    }

    void commit(uint8_t* end) {
        taken_.insert(taken_.end(), begin_, end);
        left_ -= static_cast<size_t>(end - begin_);
    }

    [[nodiscard]] const Bytes& taken() const { return taken_; }

  private:
    size_t atOnce_;
    size_t left_;
    std::unique_ptr<uint8_t[]> room_;
    uint8_t* begin_ = nullptr;
    Bytes taken_;
};

// Feeds [from, to) of `input` out of a block of exactly that size.
template <class Decoder>
void feedPiece(Decoder& decoder, const Bytes& input, size_t from, size_t to, RoomSink& sink) {
    const std::unique_ptr<uint8_t[]> piece(new uint8_t[to - from]);
    std::copy(input.data() + from, input.data() + to, piece.get());
    decoder.feed(piece.get(), piece.get() + (to - from), sink);
}

template <class Decoder>
void finish(Decoder& decoder, RoomSink& sink) {
    if constexpr (requires { decoder.finish(sink); }) decoder.finish(sink);
}

struct Feeding {
    size_t firstPiece;  // bytes of the first piece
    size_t pieces;      // bytes of every other
    size_t atOnce;      // bytes that the sink offers
    size_t limit = kNoLimit;
};

inline Feeding inOnePiece() { return {kNoLimit, kNoLimit, 64}; }

// The output of one run; `endedOut` receives what the decoder said at the end.
template <class Decoder>
Bytes decode(Decoder decoder, const Bytes& input, const Feeding& feeding, bool* endedOut = nullptr) {
    RoomSink sink(feeding.atOnce, feeding.limit);
    size_t from = 0;
    size_t size = feeding.firstPiece;
    while (from < input.size()) {
        const size_t to = from + std::min(size, input.size() - from);
        feedPiece(decoder, input, from, to, sink);
        from = to;
        size = feeding.pieces;
    }
    if (endedOut != nullptr) *endedOut = decoder.ended();
    finish(decoder, sink);
    return sink.taken();
}

// The ways that every table row takes: whole, cut in two at every byte, in pieces of 1 to 5 bytes; each with
// sinks that offer 1 to 9 bytes, and 64.
inline std::vector<Feeding> allFeedings(size_t inputSize) {
    std::vector<Feeding> feedings;
    for (const size_t atOnce : {64u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}) {
        feedings.push_back({kNoLimit, kNoLimit, atOnce});
        for (size_t cut = 1; cut < inputSize; ++cut) feedings.push_back({cut, kNoLimit, atOnce});
        for (size_t piece = 1; piece <= 5; ++piece) feedings.push_back({piece, piece, atOnce});
    }
    return feedings;
}

// Calls `check` with every string of `alphabet` up to `longest` bytes; stops when it gives false.
template <class Check>
bool forEveryInput(const Bytes& alphabet, size_t longest, Check check) {
    std::vector<size_t> digits;
    Bytes input;
    for (size_t length = 0; length <= longest; ++length) {
        digits.assign(length, 0);
        input.assign(length, alphabet[0]);
        for (bool more = true; more;) {
            if (!check(input)) return false;
            more = false;
            for (size_t place = length; place-- > 0 && !more;) {
                more = ++digits[place] < alphabet.size();
                if (!more) digits[place] = 0;
                input[place] = alphabet[digits[place]];
            }
        }
    }
    return true;
}

// A small generator with a fixed sequence: the same inputs on every machine.
class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    size_t below(size_t limit) {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return static_cast<size_t>((state_ >> 33) % limit);
    }

    Bytes bytes(const Bytes& alphabet, size_t length) {
        Bytes result(length);
        for (uint8_t& byte : result) byte = alphabet[below(alphabet.size())];
        return result;
    }

  private:
    uint64_t state_;
};

}  // namespace decoder_runs
