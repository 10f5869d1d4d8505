// The bytes of a content on their way to an output object, in whole blocks. A sink (bytes/sink.h).
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "bytes/sink.h"
#include "host/host_file.h"

namespace eml {

class OutputWriter {
  public:
    // `output` may be NULL: bytes are only counted. `block` has `size` bytes and belongs to the caller.
    OutputWriter(EmlIOobj* output, uint8_t* block, size_t size)
        : output_(output), block_(block), size_(size) {}

    [[nodiscard]] OutputSpan space() const { return {block_ + fill_, block_ + size_}; }

    void commit(const uint8_t* end) {
        fill_ = static_cast<size_t>(end - block_);
        if (fill_ == size_) flush();
    }

    void flush() {
        const size_t count = fill_;
        fill_ = 0;
        write({reinterpret_cast<const char*>(block_), count});
    }

    void append(const uint8_t* pos, const uint8_t* end) {
        while (pos < end) {
            const size_t count = std::min(static_cast<size_t>(end - pos), size_ - fill_);
            std::memcpy(block_ + fill_, pos, count);
            commit(block_ + fill_ + count);
            pos += count;
        }
    }

    // Writes what stands elsewhere, at most 64 KiB. The block is empty.
    void write(std::string_view bytes) {
        if (position_ < written_) {
            const auto known = static_cast<size_t>(std::min<uint64_t>(written_ - position_, bytes.size()));
            bytes.remove_prefix(known);
            position_ += known;
        }
        if (bytes.empty()) return;
        if (output_ != nullptr) writeFile(*output_, bytes.data(), static_cast<uint32_t>(bytes.size()));
        position_ += bytes.size();
        written_ = position_;
    }

    // The content comes once more from its start. The same bytes as before are not written a second time.
    void restart() {
        fill_ = 0;
        position_ = 0;
    }

    // Bytes that were written, or would have been.
    [[nodiscard]] uint64_t written() const { return written_; }

  private:
    EmlIOobj* output_;
    uint8_t* block_;
    size_t size_;
    size_t fill_ = 0;
    uint64_t position_ = 0;  // in the content, of what is written next
    uint64_t written_ = 0;
};

}  // namespace eml
