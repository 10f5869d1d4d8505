// Decoders fed with pieces, into sinks that take a little at a time.
#pragma once

#include <algorithm>
#include <memory>
#include <string_view>

#include "bytes/sink.h"
#include "check.h"
#include "choices.h"

namespace fuzz {

struct Feeding {
    size_t firstPiece = 1;  // bytes of the first piece
    size_t pieces = 1;      // bytes of every other
    size_t atOnce = 1;      // bytes that the sink offers
    size_t limit = static_cast<size_t>(-1);
};

// What it offers ends where its block ends; after the limit it offers nothing, like a sink that has failed.
class LittleSink {
  public:
    explicit LittleSink(const Feeding& feeding)
        : atOnce_(feeding.atOnce), left_(feeding.limit), room_(new uint8_t[feeding.atOnce]) {}

    eml::OutputSpan space() {
        const size_t size = std::min(atOnce_, left_);
        begin_ = room_.get() + (atOnce_ - size);
        return {begin_, begin_ + size};
    }

    void commit(const uint8_t* end) {
        taken_.insert(taken_.end(), static_cast<const uint8_t*>(begin_), end);
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

template <class Decoder>
Bytes decodeInPieces(Decoder decoder, std::string_view text, const Feeding& feeding) {
    LittleSink sink(feeding);
    size_t size = feeding.firstPiece;
    while (!text.empty()) {
        const Exact piece(text.substr(0, size));
        decoder.feed(piece.begin(), piece.end(), sink);
        text.remove_prefix(piece.size());
        size = feeding.pieces;
    }
    decoder.finish(sink);
    require(decoder.ended(), "a decoder has ended after its finish");
    return sink.taken();
}

}  // namespace fuzz
