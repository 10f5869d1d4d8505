// A kernel for 512-bit registers: quoted-printable text, decoded without a branch for its escapes. The others
// measure no faster than those for 256 bits.
#include "bytes/decode_kernels_wide.h"

#ifdef EML_HAS_WIDE_KERNELS

#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>

#include "bytes/ascii.h"
#include "bytes/decode_tables.h"

#define EML_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi,avx512vbmi2,bmi,popcnt")))

namespace eml {

namespace {

constexpr size_t kWidth = 64;
constexpr size_t kReach = kWidth + 2;  // what is looked at for a block: an escape may begin in its last byte
constexpr uint64_t kAll = ~uint64_t{0};

EML_AVX512 inline __m512i everywhere(uint8_t byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

EML_AVX512 inline uint64_t places(__m512i bytes, uint8_t byte) {
    return _mm512_cmpeq_epi8_mask(bytes, everywhere(byte));
}

// The places of a decoded byte that a rule touches.
EML_AVX512 inline uint64_t touched(__m512i decoded, uint16_t byte) {
    return byte <= 0xFF ? places(decoded, static_cast<uint8_t>(byte)) : 0;
}

constexpr uint8_t kNoDigit = 0x80;

constexpr std::array<uint8_t, 128> kHexValues = [] {
    std::array<uint8_t, 128> values{};
    for (size_t byte = 0; byte < values.size(); ++byte) {
        values[byte] = kHexTable[byte] == kInvalidDigit ? kNoDigit : kHexTable[byte];
    }
    return values;
}();

EML_AVX512 inline __m512i hexValues(__m512i digits) {
    return _mm512_permutex2var_epi8(_mm512_loadu_si512(kHexValues.data()), digits,
                                    _mm512_loadu_si512(&kHexValues[kWidth]));
}

// The bytes of a block and, in the same places, those that stand one and two further on.
struct Block {
    __m512i bytes;
    __m512i next;
    __m512i afterNext;
};

EML_AVX512 inline Block loadBlock(const uint8_t* pos) {
    return {_mm512_loadu_si512(pos), _mm512_loadu_si512(pos + 1), _mm512_loadu_si512(pos + 2)};
}

// A block that is shorter, and ends with the text.
EML_AVX512 inline Block loadLast(const uint8_t* pos, uint64_t inside) {
    return {_mm512_maskz_loadu_epi8(inside, pos), _mm512_maskz_loadu_epi8(inside >> 1, pos + 1),
            _mm512_maskz_loadu_epi8(inside >> 2, pos + 2)};
}

struct Decoded {
    __m512i bytes;    // each escape's byte in the place of its "="
    uint64_t used;    // the places that give no byte
    uint64_t usedOn;  // the same for the first places of the block that follows
    uint64_t left;    // not zero: this block is not for this kernel
};

// `used` has the places that belong to an escape of the block before.
EML_AVX512 inline Decoded decodeBlock(const Block& block, uint64_t used, QuotedStops stops) {
    const uint64_t equals = places(block.bytes, '=');
    const uint64_t lf = equals & places(block.next, kLf);
    const uint64_t cr = equals & places(block.next, kCr);
    const uint64_t longer = equals & ~lf & (~cr | places(block.afterNext, kLf));  // of three bytes
    const uint64_t escapes = equals & ~(lf | cr);

    const __m512i high = hexValues(block.next);
    const __m512i low = hexValues(block.afterNext);
    const __m512i noDigits =
        _mm512_or_si512(_mm512_or_si512(high, block.next), _mm512_or_si512(low, block.afterNext));
    const __m512i value =
        _mm512_or_si512(_mm512_and_si512(_mm512_slli_epi16(high, 4), everywhere(0xF0)), low);

    used |= equals << 1 | longer << 2;
    const uint64_t left =
        (equals & used) | (escapes & (_mm512_movepi8_mask(noDigits) | touched(value, stops.byte1) |
                                      touched(value, stops.byte2)));
    __m512i bytes = block.bytes;
    if (stops.underscoreIsSpace) bytes = _mm512_mask_mov_epi8(bytes, places(bytes, '_'), everywhere(' '));
    bytes = _mm512_mask_mov_epi8(bytes, escapes, value);
    return {bytes, used | lf | cr, equals >> (kWidth - 1) | longer >> (kWidth - 2), left};
}

// Decodes whole blocks, up to one that is left.
EML_AVX512 inline const uint8_t* decodeBlocks(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                              uint8_t*& outRef) {
    uint8_t* out = outRef;
    uint64_t used = 0;
    for (; static_cast<size_t>(end - pos) >= kReach; pos += kWidth) {
        const Decoded decoded = decodeBlock(loadBlock(pos), used, stops);
        if (decoded.left != 0) break;
        _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(~decoded.used, decoded.bytes));
        out += std::popcount(~decoded.used);
        used = decoded.usedOn;
    }
    outRef = out;
    return pos + std::popcount(used);
}

// Decodes the last block, of fewer than kReach bytes, or leaves it.
EML_AVX512 inline const uint8_t* decodeLast(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                            uint8_t*& out) {
    const size_t count = std::min(static_cast<size_t>(end - pos), kWidth);
    if (count == 0) return pos;
    const uint64_t inside = kAll >> (kWidth - count);
    const Block block = loadLast(pos, inside);
    if ((places(block.bytes, '=') & ~(inside >> 2)) != 0) return pos;  // an escape that does not stand whole
    const Decoded decoded = decodeBlock(block, 0, stops);
    if (decoded.left != 0) return pos;
    const uint64_t kept = inside & ~decoded.used;
    const int written = std::popcount(kept);
    const uint64_t room = written == 0 ? 0 : kAll >> (static_cast<int>(kWidth) - written);
    _mm512_mask_storeu_epi8(out, room, _mm512_maskz_compress_epi8(kept, decoded.bytes));
    out += written;
    return pos + count;
}

// A block with something unusual, and what a register holds after it, is left to the narrower kernel.
constexpr size_t kUnusual = 128;

// `Narrower` is a kernel with the same rules.
template <auto& Narrower>
EML_AVX512 inline const uint8_t* decodeQuoted(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                              uint8_t*& out) {
    for (;;) {
        pos = decodeBlocks(pos, end, stops, out);
        if (static_cast<size_t>(end - pos) < kReach) pos = decodeLast(pos, end, stops, out);
        if (pos == end) return end;
        const uint8_t* const limit = pos + std::min(static_cast<size_t>(end - pos), kUnusual);
        pos = Narrower(pos, limit, stops, out);
        // It also stops before the limit, where the bytes after it are missing.
        if (pos != limit && (limit == end || limit - pos >= 3)) return pos;
    }
}

// A block with an escape that has not two digits is left in both.
EML_AVX512 const uint8_t* quotedText(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                     uint8_t*& out) {
    return decodeQuoted<avx2::quotedText>(pos, end, stops, out);
}

EML_AVX512 const uint8_t* quotedDigits(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                       uint8_t*& out) {
    return decodeQuoted<avx2::quotedDigits>(pos, end, stops, out);
}

}  // namespace

constinit const DecodeKernels kAvx512Kernels = {avx2::base64Lines, quotedText,     avx2::findTextRunEnd,
                                                avx2::findLineEnd, avx2::findPair, quotedDigits};

}  // namespace eml

#endif
