// Kernels for 256-bit registers.
#include "bytes/decode_kernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <bit>

#define EML_AVX2 __attribute__((target("avx2")))

namespace eml {

namespace {

constexpr size_t kWidth = 32;

EML_AVX2 inline __m256i load(const uint8_t* pos) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pos));
}

EML_AVX2 inline void store(uint8_t* out, __m256i bytes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
}

EML_AVX2 inline __m256i everywhere(uint8_t byte) { return _mm256_set1_epi8(static_cast<char>(byte)); }

EML_AVX2 inline uint32_t maskOf(__m256i bytes) { return static_cast<uint32_t>(_mm256_movemask_epi8(bytes)); }

// A row of 16 bytes, in both halves of a register.
EML_AVX2 inline __m256i row(const uint8_t (&bytes)[16]) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

// A digit is told by its two nibbles: each row names the columns that its nibble does not go with (Mula and
// Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions", 2018).
constexpr uint8_t kLowNibble[16] = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                    0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};
constexpr uint8_t kHighNibble[16] = {0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                     0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
// What is added to a digit to give its value, by its high nibble; "/" uses the place before its own.
constexpr uint8_t kToValue[16] = {0, 16, 19, 4, 191, 191, 185, 185, 0, 0, 0, 0, 0, 0, 0, 0};
// From four bytes with 24 bits to three, first byte first.
constexpr uint8_t kPack[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, 0x80, 0x80, 0x80, 0x80};

EML_AVX2 inline __m256i packGroups(__m256i values) {
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_shuffle_epi8(groups, row(kPack));
    return _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

EML_AVX2 const uint8_t* base64Groups(const uint8_t* pos, size_t groups, uint8_t*& out) {
    const __m256i nibble = everywhere(0x0F);
    while (groups >= kWidth / 4) {
        const __m256i digits = load(pos);
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(digits, 4), nibble);
        const __m256i low = _mm256_and_si256(digits, nibble);
        const __m256i clash = _mm256_and_si256(_mm256_shuffle_epi8(row(kLowNibble), low),
                                               _mm256_shuffle_epi8(row(kHighNibble), high));
        const uint32_t valid = maskOf(_mm256_cmpeq_epi8(clash, _mm256_setzero_si256()));
        const __m256i slash = _mm256_cmpeq_epi8(digits, everywhere('/'));
        const __m256i offsets = _mm256_shuffle_epi8(row(kToValue), _mm256_add_epi8(slash, high));
        store(out, packGroups(_mm256_add_epi8(digits, offsets)));
        const auto whole = static_cast<size_t>(std::countr_one(valid)) / 4;
        pos += 4 * whole;
        out += 3 * whole;
        groups -= whole;
        if (whole < kWidth / 4) return pos;
    }
    return kPlainKernels.base64Groups(pos, groups, out);
}

EML_AVX2 const uint8_t* copyUntil(const uint8_t* pos, const uint8_t* end, uint8_t stop1, uint8_t stop2,
                                  uint8_t*& out) {
    const __m256i first = everywhere(stop1);
    const __m256i second = everywhere(stop2);
    while (static_cast<size_t>(end - pos) >= kWidth) {
        const __m256i bytes = load(pos);
        store(out, bytes);
        const uint32_t stops =
            maskOf(_mm256_or_si256(_mm256_cmpeq_epi8(bytes, first), _mm256_cmpeq_epi8(bytes, second)));
        const auto count = static_cast<size_t>(std::countr_zero(stops));
        pos += count;
        out += count;
        if (stops != 0) return pos;
    }
    return kPlainKernels.copyUntil(pos, end, stop1, stop2, out);
}

EML_AVX2 const uint8_t* findTextRunEnd(const uint8_t* pos, const uint8_t* end) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i tab = everywhere('\t');
    const __m256i lf = everywhere('\n');
    const __m256i cr = everywhere('\r');
    for (; static_cast<size_t>(end - pos) >= kWidth; pos += kWidth) {
        const __m256i bytes = load(pos);
        const __m256i one = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, zero), _mm256_cmpeq_epi8(bytes, tab));
        const __m256i other = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, lf), _mm256_cmpeq_epi8(bytes, cr));
        const uint32_t stops = maskOf(_mm256_or_si256(one, other));
        if (stops != 0) return pos + std::countr_zero(stops);
    }
    return kPlainKernels.findTextRunEnd(pos, end);
}

}  // namespace

constinit const DecodeKernels kAvx2Kernels = {base64Groups, copyUntil, findTextRunEnd};

}  // namespace eml

#endif
