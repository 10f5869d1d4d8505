// The first bytes of an input choose what is done with the rest of it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace fuzz {

// The choices, one byte each; 0 after the last.
class Choices {
  public:
    Choices(const uint8_t* data, size_t size, size_t most)
        : pos_(data),
          end_(data + std::min(size, most)),
          rest_(end_),
          restSize_(size - std::min(size, most)) {}

    uint8_t byte() { return pos_ < end_ ? *pos_++ : 0; }
    uint32_t below(uint32_t limit) { return byte() % limit; }
    bool flag() { return (byte() & 1) != 0; }

    [[nodiscard]] const uint8_t* rest() const { return rest_; }
    [[nodiscard]] size_t restSize() const { return restSize_; }
    [[nodiscard]] std::string_view restText() const {
        return {reinterpret_cast<const char*>(rest_), restSize_};
    }

  private:
    const uint8_t* pos_;
    const uint8_t* end_;
    const uint8_t* rest_;
    size_t restSize_;
};

// A copy in a block of exactly its size: reading a byte too far is noticed.
class Exact {
  public:
    explicit Exact(std::string_view text) : size_(text.size()), block_(new uint8_t[text.size()]) {
        std::copy(text.begin(), text.end(), block_.get());
    }

    [[nodiscard]] const uint8_t* begin() const { return block_.get(); }
    [[nodiscard]] const uint8_t* end() const { return block_.get() + size_; }
    [[nodiscard]] size_t size() const { return size_; }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> block_;
};

}  // namespace fuzz
