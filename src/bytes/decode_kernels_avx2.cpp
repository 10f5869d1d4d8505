// Kernels for 256-bit registers.
#include "bytes/decode_kernels_wide.h"

#ifdef EML_HAS_WIDE_KERNELS

#include <immintrin.h>

#include <array>
#include <bit>

#include "bytes/quoted_stop.h"

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

// Decodes 32 digits into 24 bytes. Returns zero for each byte that is a digit.
EML_AVX2 inline __m256i decodeDigits(const uint8_t* pos, uint8_t* out) {
    const __m256i nibble = everywhere(0x0F);
    const __m256i digits = load(pos);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(digits, 4), nibble);
    const __m256i low = _mm256_and_si256(digits, nibble);
    const __m256i slash = _mm256_cmpeq_epi8(digits, everywhere('/'));
    const __m256i offsets = _mm256_shuffle_epi8(row(kToValue), _mm256_add_epi8(slash, high));
    store(out, packGroups(_mm256_add_epi8(digits, offsets)));
    return _mm256_and_si256(_mm256_shuffle_epi8(row(kLowNibble), low),
                            _mm256_shuffle_epi8(row(kHighNibble), high));
}

// A line of base64 text: its digits, in whole groups, and the bytes of the line end after them.
struct LineShape {
    size_t digits;
    size_t lineEnd;

    [[nodiscard]] size_t size() const { return digits + lineEnd; }
    [[nodiscard]] size_t decoded() const { return digits / 4 * 3; }
};

// Decodes `count` digits; up to a register's width after them is read, and written after what they give.
// False when one is no digit.
EML_AVX2 inline bool decodeLine(const uint8_t* pos, size_t count, uint8_t* out) {
    alignas(kWidth) static constexpr std::array<uint8_t, 2 * kWidth> kFirstBytes = [] {
        std::array<uint8_t, 2 * kWidth> bytes{};
        for (size_t i = 0; i < kWidth; ++i) bytes[i] = 0xFF;
        return bytes;
    }();
    __m256i clash = _mm256_setzero_si256();
    for (; count >= kWidth; pos += kWidth, out += kWidth / 4 * 3, count -= kWidth) {
        clash = _mm256_or_si256(clash, decodeDigits(pos, out));
    }
    const __m256i last = _mm256_and_si256(decodeDigits(pos, out), load(&kFirstBytes[kWidth - count]));
    clash = _mm256_or_si256(clash, last);
    return _mm256_testz_si256(clash, clash) != 0;
}

// Decodes lines of the shape of the one before, as all but the last of a body are.
EML_AVX2 inline const uint8_t* decodeEqualLines(const uint8_t* pos, const uint8_t* end, LineShape line,
                                                uint8_t*& out, const uint8_t* outEnd) {
    const size_t read = line.size() + kWidth;
    const size_t written = line.decoded() + kWidth;
    while (static_cast<size_t>(end - pos) >= read && static_cast<size_t>(outEnd - out) >= written &&
           isLineEnd(pos[line.digits]) && isLineEnd(pos[line.size() - 1]) &&
           decodeLine(pos, line.digits, out)) {
        pos += line.size();
        out += line.decoded();
    }
    return pos;
}

}  // namespace

EML_AVX2 const uint8_t* avx2::base64Lines(const uint8_t* pos, const uint8_t* end, uint8_t*& outRef,
                                          const uint8_t* outEnd) {
    uint8_t* out = outRef;
    const uint8_t* lineStart = pos;
    while (static_cast<size_t>(end - pos) >= kWidth && static_cast<size_t>(outEnd - out) >= kWidth) {
        const __m256i clash = decodeDigits(pos, out);
        const uint32_t valid = maskOf(_mm256_cmpeq_epi8(clash, _mm256_setzero_si256()));
        const auto groups = static_cast<size_t>(std::countr_one(valid) / 4);
        pos += 4 * groups;
        out += 3 * groups;
        if (groups == kWidth / 4) continue;
        if (!isLineEnd(*pos)) break;
        LineShape line{static_cast<size_t>(pos - lineStart), 0};
        for (; pos < end && isLineEnd(*pos); ++pos) ++line.lineEnd;
        if (line.lineEnd <= 2) pos = decodeEqualLines(pos, end, line, out, outEnd);
        lineStart = pos;
    }
    outRef = out;
    return kPlainKernels.base64Lines(pos, end, outRef, outEnd);
}

namespace {

// Quoted-printable text is decoded in blocks. Their length leaves an escape that begins in one inside 64
// bits.
constexpr size_t kQuotedBlock = 61;
constexpr size_t kQuotedReach = 128;  // what is read of a block and after it

EML_AVX2 inline void copy64(uint8_t* out, const uint8_t* pos) {
    store(out, load(pos));
    store(out + kWidth, load(pos + kWidth));
}

// The places of "=" and `other` in a block, as bits.
EML_AVX2 inline uint64_t findStops(const uint8_t* pos, __m256i other) {
    const __m256i equals = everywhere('=');
    const __m256i low = load(pos);
    const __m256i high = load(pos + kWidth);
    const uint64_t lowStops =
        maskOf(_mm256_or_si256(_mm256_cmpeq_epi8(low, equals), _mm256_cmpeq_epi8(low, other)));
    const uint64_t highStops =
        maskOf(_mm256_or_si256(_mm256_cmpeq_epi8(high, equals), _mm256_cmpeq_epi8(high, other)));
    return (lowStops | highStops << kWidth) & ((uint64_t{1} << kQuotedBlock) - 1);
}

// 1 for CR and LF, without a branch.
EML_AVX2 inline uint32_t lineEndBit(uint8_t byte) {
    constexpr uint32_t kLineEnds = 1U << kCr | 1U << kLf;
    return kLineEnds >> (byte & 31U) & static_cast<uint32_t>(byte < 32);
}

// As passQuotedStop for "=" with two bytes after it. Which one is a letter and which a soft line break
// cannot be foretold, so that both go one way, without a branch.
template <bool DigitsOnly>
EML_AVX2 inline bool passEquals(const uint8_t*& pos, QuotedStops stops, uint8_t*& out) {
    const uint8_t byte = escapedByte(kHexTable[pos[1]], kHexTable[pos[2]]);
    if (byte == stops.byte1 || byte == stops.byte2) return false;
    const uint32_t soft = lineEndBit(pos[1]);
    if constexpr (DigitsOnly) {
        if (soft == 0 && !isDigitPair(pos)) return false;
    }
    const uint32_t pair = static_cast<uint32_t>(pos[1] == kCr) & static_cast<uint32_t>(pos[2] == kLf);
    *out = byte;
    out += 1 - soft;
    pos += 3 - (soft & (pair ^ 1));
    return true;
}

// Decodes the block at `pos`, whose stops are `found`, and moves past it, or to the stop that is left.
template <bool DigitsOnly>
EML_AVX2 inline bool decodeQuotedBlock(const uint8_t*& pos, uint64_t found, QuotedStops stops,
                                       uint8_t*& out) {
    const uint8_t* const block = pos;
    while (found != 0) {
        const uint8_t* const stop = block + std::countr_zero(found);
        found &= found - 1;
        copy64(out, pos);
        out += stop - pos;
        pos = stop;
        if (stops.underscoreIsSpace && *pos == '_') {
            *out++ = ' ';
            ++pos;
        } else if (!passEquals<DigitsOnly>(pos, stops, out)) {
            return false;
        }
        const uint64_t ahead = ~uint64_t{0} << (pos - block);
        if ((found & ~ahead) != 0) found &= ahead;  // an "=" that was a digit
    }
    if (const uint8_t* const end = block + kQuotedBlock; pos < end) {
        copy64(out, pos);
        out += end - pos;
        pos = end;
    }
    return true;
}

template <bool DigitsOnly>
EML_AVX2 inline const uint8_t* decodeQuoted(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                            uint8_t*& outRef) {
    const __m256i other = everywhere(stops.underscoreIsSpace ? '_' : '=');
    uint8_t* out = outRef;
    bool passed = true;
    while (passed && static_cast<size_t>(end - pos) >= kQuotedReach) {
        passed = decodeQuotedBlock<DigitsOnly>(pos, findStops(pos, other), stops, out);
    }
    outRef = out;
    if (!passed) return pos;
    if constexpr (DigitsOnly) return kPlainKernels.quotedDigits(pos, end, stops, outRef);
    return kPlainKernels.quotedText(pos, end, stops, outRef);
}

}  // namespace

EML_AVX2 const uint8_t* avx2::quotedText(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                         uint8_t*& out) {
    return decodeQuoted<false>(pos, end, stops, out);
}

EML_AVX2 const uint8_t* avx2::quotedDigits(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                           uint8_t*& out) {
    return decodeQuoted<true>(pos, end, stops, out);
}

EML_AVX2 const uint8_t* avx2::findTextRunEnd(const uint8_t* pos, const uint8_t* end) {
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

EML_AVX2 const uint8_t* avx2::findLineEnd(const uint8_t* pos, const uint8_t* end, const uint8_t*& zero) {
    const __m256i nothing = _mm256_setzero_si256();
    const __m256i lf = everywhere('\n');
    const __m256i cr = everywhere('\r');
    const uint8_t* firstZero = nullptr;
    for (; static_cast<size_t>(end - pos) >= kWidth; pos += kWidth) {
        const __m256i bytes = load(pos);
        const uint32_t lineEnds =
            maskOf(_mm256_or_si256(_mm256_cmpeq_epi8(bytes, lf), _mm256_cmpeq_epi8(bytes, cr)));
        const uint32_t zeros = maskOf(_mm256_cmpeq_epi8(bytes, nothing));
        if (zeros != 0 && firstZero == nullptr) firstZero = pos + std::countr_zero(zeros);
        if (lineEnds == 0) continue;
        pos += std::countr_zero(lineEnds);
        zero = firstZero != nullptr && firstZero < pos ? firstZero : pos;
        return pos;
    }
    const uint8_t* const lineEnd = kPlainKernels.findLineEnd(pos, end, zero);
    if (firstZero != nullptr) zero = firstZero;
    return lineEnd;
}

namespace {

EML_AVX2 inline __m256i pairsAt(const uint8_t* pos, size_t distance, __m256i firsts, __m256i seconds) {
    return _mm256_and_si256(_mm256_cmpeq_epi8(load(pos), firsts),
                            _mm256_cmpeq_epi8(load(pos + distance), seconds));
}

}  // namespace

EML_AVX2 const uint8_t* avx2::findPair(const uint8_t* pos, const uint8_t* end, uint8_t first, uint8_t second,
                                       size_t distance) {
    if (static_cast<size_t>(end - pos) < kWidth)
        return kPlainKernels.findPair(pos, end, first, second, distance);
    const __m256i firsts = everywhere(first);
    const __m256i seconds = everywhere(second);
    // Two registers at a time, as long as nothing is found.
    for (; static_cast<size_t>(end - pos) >= 2 * kWidth; pos += 2 * kWidth) {
        const __m256i pairs = _mm256_or_si256(pairsAt(pos, distance, firsts, seconds),
                                              pairsAt(pos + kWidth, distance, firsts, seconds));
        if (maskOf(pairs) != 0) break;
    }
    // The last step ends at the end, and looks at some places again, which are none.
    while (pos < end) {
        if (static_cast<size_t>(end - pos) < kWidth) pos = end - kWidth;
        const uint32_t pairs = maskOf(pairsAt(pos, distance, firsts, seconds));
        if (pairs != 0) return pos + std::countr_zero(pairs);
        pos += kWidth;
    }
    return end;
}

constinit const DecodeKernels kAvx2Kernels = {avx2::base64Lines, avx2::quotedText, avx2::findTextRunEnd,
                                              avx2::findLineEnd, avx2::findPair,   avx2::quotedDigits};

}  // namespace eml

#endif
