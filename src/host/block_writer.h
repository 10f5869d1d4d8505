// Writes decoded bytes to an output object in blocks of 4096 bytes, and the rest when the body ends.
#pragma once

#include "bytes/sink.h"
#include "host/host_file.h"

namespace eml {

inline constexpr uint32_t kOutputBlockSize = 4096;

class BlockWriter {
  public:
    // `block` has kOutputBlockSize bytes and belongs to the caller.
    BlockWriter(EmlIOobj& output, uint8_t* block) : output_(output), block_(block) {}

    [[nodiscard]] OutputSpan space() const { return {block_ + fill_, block_ + kOutputBlockSize}; }

    void commit(const uint8_t* end) {
        fill_ = static_cast<uint32_t>(end - block_);
        if (fill_ == kOutputBlockSize) flush();
    }

    void flush() {
        if (fill_ != 0) writeFile(output_, block_, fill_);
        written_ += fill_;
        fill_ = 0;
    }

    // Bytes written so far.
    [[nodiscard]] uint64_t written() const { return written_; }

  private:
    EmlIOobj& output_;
    uint8_t* block_;
    uint32_t fill_ = 0;
    uint64_t written_ = 0;
};

}  // namespace eml
