// What a reader in a process of its own (system/isolated_work.h) sends back: frames, each followed by the bytes that it
// announces. Both processes are the same program, so numbers have the form that they have in memory.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace emltool {

struct ReplyFrame {
    uint32_t kind;  // the other fields mean what the reader says
    uint32_t flag;
    uint32_t first;
    uint32_t second;
    uint64_t size;
};

// Takes pieces off the front of a reply, never more than is left.
class ReplyPieces {
  public:
    explicit ReplyPieces(std::span<const uint8_t> bytes) : rest_(bytes) {}

    bool take(uint64_t count, std::span<const uint8_t>& piece);
    bool take(uint64_t count, std::string_view& text);
    bool take(ReplyFrame& frame);
    bool empty() const { return rest_.empty(); }

  private:
    std::span<const uint8_t> rest_;
};

// Writes a reply at once.
class ReplyWriter {
  public:
    explicit ReplyWriter(int descriptor) : descriptor_(descriptor) {}

    void put(const ReplyFrame& frame);
    void put(std::span<const uint8_t> bytes);
    void put(std::string_view text);
    bool failed() const { return failed_; }

  private:
    int descriptor_;
    bool failed_ = false;
};

}  // namespace emltool
