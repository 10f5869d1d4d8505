// SHA-256.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace emltool {

class Sha256 {
  public:
    using Digest = std::array<uint8_t, 32>;

    void update(std::span<const uint8_t> bytes) noexcept;

    // The digest of all updates. The object must not be used afterwards.
    Digest finish() noexcept;

    static Digest of(std::string_view text) noexcept;

  private:
    static constexpr size_t kBlock = 64;

    void takeBlock(const uint8_t* block) noexcept;

    std::array<uint32_t, 8> state_ = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                      0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
    std::array<uint8_t, kBlock> pending_{};
    size_t fill_ = 0;
    uint64_t length_ = 0;
};

// 64 lower case hexadecimal digits.
std::string hexText(const Sha256::Digest& digest);

}  // namespace emltool
