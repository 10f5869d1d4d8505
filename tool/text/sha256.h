// SHA-256, as libcrypto computes it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;  // EVP_MD_CTX

namespace emltool {

// Why there is no SHA-256, "built without libcrypto"; empty if there is. The first call loads the library, which takes
// longer than reading a message.
std::string sha256Lack();

inline bool hasSha256() { return sha256Lack().empty(); }

// Only where hasSha256(); elsewhere the constructor throws std::runtime_error. Not for several threads.
class Sha256 {
  public:
    using Digest = std::array<uint8_t, 32>;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void update(std::span<const uint8_t> bytes) noexcept;

    // The digest of all updates. The next update begins another one. Throws std::runtime_error if the library has
    // failed.
    Digest finish();

    // Forgets all updates.
    void restart() noexcept;

    static Digest of(std::string_view text);

    struct Deleter {
        void operator()(evp_md_ctx_st* context) const;
    };

  private:
    std::unique_ptr<evp_md_ctx_st, Deleter> context_;
    bool isGood_ = true;
};

// 64 lower case hexadecimal digits.
std::string hexText(const Sha256::Digest& digest);

}  // namespace emltool
