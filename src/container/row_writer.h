// Gathers pieces of a document in one buffer of 4096 bytes and writes it to an output object when it is
// nearly full. Pieces longer than the buffer are written directly.
#pragma once

#include <cstring>
#include <string_view>

#include "host/host_file.h"

namespace eml {

class RowWriter {
  public:
    explicit RowWriter(EmlIOobj& output) : output_(output) {}

    void append(const void* bytes, uint32_t length) {
        if (length > sizeof buffer_ - fill_) flush();
        if (length > sizeof buffer_) {
            writeFile(output_, bytes, length);
            return;
        }
        if (length != 0) std::memcpy(buffer_ + fill_, bytes, length);
        fill_ += length;
        if (fill_ > kNearlyFull) flush();
    }

    void append(std::string_view text) { append(text.data(), static_cast<uint32_t>(text.size())); }

    // ASCII text as 16-bit text, low byte first.
    void appendWide(std::string_view text) {
        for (const char character : text)
            append(std::string_view(&character, 1)), append(std::string_view("\0", 1));
    }

    void flush() {
        if (fill_ != 0) writeFile(output_, buffer_, fill_);
        fill_ = 0;
    }

  private:
    static constexpr uint32_t kNearlyFull = 3995;

    EmlIOobj& output_;
    uint32_t fill_ = 0;
    uint8_t buffer_[4096] = {};
};

}  // namespace eml
