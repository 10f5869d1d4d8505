// Kernels for 512-bit registers with byte permutations.
#include "bytes/decode_kernels.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

#include <array>
#include <bit>

#include "bytes/decode_tables.h"

#define EML_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi")))

namespace eml {

namespace {

constexpr size_t kWidth = 64;
constexpr uint8_t kNoDigit = 0x80;

// The values of the bytes below 0x80. The rest, and what is no digit, has the high bit set.
constexpr std::array<uint8_t, 128> makeValues() {
    std::array<uint8_t, 128> values{};
    for (size_t byte = 0; byte < values.size(); ++byte) {
        values[byte] = kBase64Table[byte] == kInvalidDigit ? kNoDigit : kBase64Table[byte];
    }
    return values;
}

// Where the 48 bytes of 16 groups stand: three of each group's four, first byte first.
constexpr std::array<uint8_t, kWidth> makePacking() {
    std::array<uint8_t, kWidth> packing{};
    for (size_t i = 0; i < kWidth * 3 / 4; ++i) packing[i] = static_cast<uint8_t>(i / 3 * 4 + 2 - i % 3);
    return packing;
}

constexpr std::array<uint8_t, 128> kValues = makeValues();
constexpr std::array<uint8_t, kWidth> kPacking = makePacking();

EML_AVX512 inline __m512i load(const uint8_t* pos) { return _mm512_loadu_si512(pos); }

EML_AVX512 const uint8_t* base64Groups(const uint8_t* pos, size_t groups, uint8_t*& out) {
    const __m512i lowValues = load(kValues.data());
    const __m512i highValues = load(kValues.data() + kWidth);
    const __m512i packing = load(kPacking.data());
    while (groups >= kWidth / 4) {
        const __m512i digits = load(pos);
        const __m512i values = _mm512_permutex2var_epi8(lowValues, digits, highValues);
        const uint64_t invalid = _mm512_movepi8_mask(_mm512_or_si512(digits, values));
        const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
        const __m512i words = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
        _mm512_storeu_si512(out, _mm512_permutexvar_epi8(packing, words));
        const auto whole = static_cast<size_t>(std::countr_zero(invalid)) / 4;
        pos += 4 * whole;
        out += 3 * whole;
        groups -= whole;
        if (whole < kWidth / 4) return pos;
    }
    return kAvx2Kernels.base64Groups(pos, groups, out);
}

EML_AVX512 const uint8_t* copyUntil(const uint8_t* pos, const uint8_t* end, uint8_t stop1, uint8_t stop2,
                                    uint8_t*& out) {
    const __m512i first = _mm512_set1_epi8(static_cast<char>(stop1));
    const __m512i second = _mm512_set1_epi8(static_cast<char>(stop2));
    while (static_cast<size_t>(end - pos) >= kWidth) {
        const __m512i bytes = load(pos);
        _mm512_storeu_si512(out, bytes);
        const uint64_t stops = _mm512_cmpeq_epi8_mask(bytes, first) | _mm512_cmpeq_epi8_mask(bytes, second);
        const auto count = static_cast<size_t>(std::countr_zero(stops));
        pos += count;
        out += count;
        if (stops != 0) return pos;
    }
    return kAvx2Kernels.copyUntil(pos, end, stop1, stop2, out);
}

EML_AVX512 const uint8_t* findTextRunEnd(const uint8_t* pos, const uint8_t* end) {
    for (; static_cast<size_t>(end - pos) >= kWidth; pos += kWidth) {
        const __m512i bytes = load(pos);
        const uint64_t stops = _mm512_testn_epi8_mask(bytes, bytes) |
                               _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('\t')) |
                               _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('\n')) |
                               _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8('\r'));
        if (stops != 0) return pos + std::countr_zero(stops);
    }
    return kAvx2Kernels.findTextRunEnd(pos, end);
}

}  // namespace

const DecodeKernels kAvx512Kernels = {base64Groups, copyUntil, findTextRunEnd};

}  // namespace eml

#endif
