#include "tool/text/sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace emltool {

namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr uint32_t kRound[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

uint32_t bigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

uint32_t mixed(uint32_t x, int a, int b, int c) {
    return std::rotr(x, a) ^ std::rotr(x, b) ^ std::rotr(x, c);
}

}  // namespace

void Sha256::takeBlock(const uint8_t* block) noexcept {
    uint32_t w[64];
    for (size_t i = 0; i < 16; ++i) w[i] = bigEndian(block + 4 * i);
    for (size_t i = 16; i < 64; ++i) {
        uint32_t early = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3;
        uint32_t late = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10;
        w[i] = w[i - 16] + early + w[i - 7] + late;
    }
    auto [a, b, c, d, e, f, g, h] = state_;
    for (size_t i = 0; i < 64; ++i) {
        uint32_t first = h + mixed(e, 6, 11, 25) + ((e & f) ^ (~e & g)) + kRound[i] + w[i];
        uint32_t second = mixed(a, 2, 13, 22) + ((a & b) ^ (a & c) ^ (b & c));
        h = g, g = f, f = e, e = d + first;
        d = c, c = b, b = a, a = first + second;
    }
    const uint32_t result[8] = {a, b, c, d, e, f, g, h};
    for (size_t i = 0; i < 8; ++i) state_[i] += result[i];
}

void Sha256::update(std::span<const uint8_t> bytes) noexcept {
    length_ += bytes.size();
    if (fill_ != 0) {
        size_t piece = std::min(kBlock - fill_, bytes.size());
        std::copy_n(bytes.data(), piece, pending_.data() + fill_);
        fill_ += piece;
        bytes = bytes.subspan(piece);
        if (fill_ < kBlock) return;
        takeBlock(pending_.data());
        fill_ = 0;
    }
    while (bytes.size() >= kBlock) {
        takeBlock(bytes.data());
        bytes = bytes.subspan(kBlock);
    }
    std::copy_n(bytes.data(), bytes.size(), pending_.data());
    fill_ = bytes.size();
}

Sha256::Digest Sha256::finish() noexcept {
    uint64_t bits = length_ * 8;
    pending_[fill_++] = 0x80;
    if (fill_ > kBlock - 8) {
        std::fill(pending_.begin() + static_cast<ptrdiff_t>(fill_), pending_.end(), uint8_t{0});
        takeBlock(pending_.data());
        fill_ = 0;
    }
    std::fill(pending_.begin() + static_cast<ptrdiff_t>(fill_), pending_.end(), uint8_t{0});
    for (size_t i = 0; i < 8; ++i) pending_[kBlock - 1 - i] = static_cast<uint8_t>(bits >> 8 * i);
    takeBlock(pending_.data());

    Digest digest{};
    for (size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<uint8_t>(state_[i / 4] >> (24 - 8 * (i % 4)));
    }
    return digest;
}

Sha256::Digest Sha256::of(std::string_view text) noexcept {
    Sha256 hash;
    hash.update({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    return hash.finish();
}

std::string hexText(const Sha256::Digest& digest) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace emltool
