// Decoded bytes on their way to whoever takes them: a sink (bytes/sink.h) over one block.
#pragma once

#include <string_view>

#include "bytes/sink.h"

namespace eml {

class DecodedBytes {
  public:
    // Takes bytes; false when no more are wanted.
    using Take = bool (*)(void* taker, std::string_view bytes);

    // `block` has `size` bytes and belongs to the caller.
    DecodedBytes(uint8_t* block, size_t size, Take take, void* taker)
        : block_(block), size_(size), take_(take), taker_(taker) {}

    [[nodiscard]] OutputSpan space() const {
        return stopped_ ? OutputSpan{block_, block_} : OutputSpan{block_ + fill_, block_ + size_};
    }

    void commit(const uint8_t* end) {
        if (stopped_) return;
        fill_ = static_cast<size_t>(end - block_);
        if (fill_ == size_) flush();
    }

    // Bytes that need no decoding.
    void pass(std::string_view bytes) {
        flush();
        if (!stopped_) stopped_ = !take_(taker_, bytes);
    }

    void flush() {
        if (fill_ == 0 || stopped_) return;
        stopped_ = !take_(taker_, {reinterpret_cast<const char*>(block_), fill_});
        fill_ = 0;
    }

    // No more is wanted.
    [[nodiscard]] bool stopped() const { return stopped_; }

  private:
    uint8_t* block_;
    size_t size_;
    size_t fill_ = 0;
    Take take_;
    void* taker_;
    bool stopped_ = false;
};

}  // namespace eml
