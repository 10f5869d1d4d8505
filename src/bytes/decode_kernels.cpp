#include "bytes/decode_kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "bytes/decode_tables.h"
#include "bytes/quoted_stop.h"
#include "bytes/text_run.h"
#include "bytes/unreachable.h"

#if defined(EML_HAS_WIDE_KERNELS) && defined(__GLIBC__)
#define EML_HAS_FEATURES_OF_C_LIBRARY

// What <sys/platform/x86.h> has, a header that not every compiler takes for C++. Weak: the function is there
// since glibc 2.33, and not in programs that are linked statically.
extern "C" {
struct EmlProcessorFeatures {
    uint32_t present[4];
    uint32_t usable[4];  // EAX to EDX of a leaf, less what the system does not save
};
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming): a name of the C library
[[gnu::weak]] const EmlProcessorFeatures* __x86_get_cpuid_feature_leaf(uint32_t leaf);
}
#endif

namespace eml {

namespace {

constexpr uint64_t kOnes = 0x0101010101010101;
constexpr uint64_t kHighBits = kOnes << 7;
constexpr size_t kWide = sizeof(uint64_t);

// The value of each digit, shifted to where it stands in a group's three bytes (first byte lowest), per place
// in the group. Whole groups decode with four look-ups.
constexpr uint32_t kInvalidGroup = 0x80000000;

using GroupTables = std::array<std::array<uint32_t, 256>, 4>;

constexpr GroupTables makeGroupTables() {
    GroupTables tables{};
    for (size_t byte = 0; byte < 256; ++byte) {
        const uint32_t value = kBase64Table[byte];
        const bool valid = value != kInvalidDigit;
        tables[0][byte] = valid ? value << 2 : kInvalidGroup;
        tables[1][byte] = valid ? (value >> 4) | ((value & 0x0F) << 12) : kInvalidGroup;
        tables[2][byte] = valid ? ((value >> 2) << 8) | ((value & 0x03) << 22) : kInvalidGroup;
        tables[3][byte] = valid ? value << 16 : kInvalidGroup;
    }
    return tables;
}

constexpr GroupTables kGroupTables = makeGroupTables();

// Decodes whole groups of digits, as far as they and their room reach.
const uint8_t* base64Groups(const uint8_t* pos, const uint8_t* end, uint8_t*& out, const uint8_t* outEnd) {
    for (; end - pos >= 4 && outEnd - out >= 4; pos += 4, out += 3) {
        const uint32_t group = kGroupTables[0][pos[0]] | kGroupTables[1][pos[1]] | kGroupTables[2][pos[2]] |
                               kGroupTables[3][pos[3]];
        if ((group & kInvalidGroup) != 0) break;
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(out, &group, sizeof group);
        } else {
            for (int i = 0; i < 3; ++i) out[i] = static_cast<uint8_t>(group >> (8 * i));
        }
    }
    return pos;
}

const uint8_t* base64Lines(const uint8_t* pos, const uint8_t* end, uint8_t*& out, const uint8_t* outEnd) {
    for (;;) {
        pos = base64Groups(pos, end, out, outEnd);
        const uint8_t* const lineEnd = pos;
        while (pos < end && isLineEnd(*pos)) ++pos;
        if (pos == lineEnd) return pos;
    }
}

uint64_t loadWide(const uint8_t* pos) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, pos, kWide);
    return bytes;
}

// The high bit of every byte that equals `byte`; the lowest that is set is right, those above it may be too
// many.
uint64_t matches(uint64_t bytes, uint8_t byte) {
    const uint64_t difference = bytes ^ (kOnes * byte);
    return (difference - kOnes) & ~difference & kHighBits;
}

// Copies up to the first "=" or `other`. `out` has room for end - pos bytes.
[[gnu::always_inline]] inline const uint8_t* copyPlainRun(const uint8_t* pos, const uint8_t* end,
                                                          uint8_t other, uint8_t*& out) {
    while (static_cast<size_t>(end - pos) >= kWide) {
        const uint64_t bytes = loadWide(pos);
        std::memcpy(out, &bytes, kWide);
        const uint64_t stops = matches(bytes, '=') | matches(bytes, other);
        if (stops != 0) {
            if constexpr (std::endian::native != std::endian::little) break;
            const auto count = static_cast<size_t>(std::countr_zero(stops)) / 8;
            out += count;
            return pos + count;
        }
        pos += kWide;
        out += kWide;
    }
    while (pos < end && *pos != '=' && *pos != other) *out++ = *pos++;
    return pos;
}

template <bool DigitsOnly>
const uint8_t* quotedText(const uint8_t* pos, const uint8_t* end, QuotedStops stops, uint8_t*& out) {
    const uint8_t other = stops.underscoreIsSpace ? '_' : '=';
    for (;;) {
        pos = copyPlainRun(pos, end, other, out);
        if (pos == end || !passQuotedStop<DigitsOnly>(pos, end, stops, out)) return pos;
    }
}

const uint8_t* findLineEnd(const uint8_t* pos, const uint8_t* end, const uint8_t*& zero) {
    zero = nullptr;
    for (;; ++pos) {
        pos = findTextRunEnd(pos, end);
        if (pos == end || isLineEnd(*pos)) break;
        if (*pos == 0 && zero == nullptr) zero = pos;
    }
    if (zero == nullptr) zero = pos;
    return pos;
}

const uint8_t* findPair(const uint8_t* pos, const uint8_t* end, uint8_t first, uint8_t second,
                        size_t distance) {
    for (; pos < end; ++pos) {
        pos = static_cast<const uint8_t*>(std::memchr(pos, first, static_cast<size_t>(end - pos)));
        if (pos == nullptr) return end;
        if (pos[distance] == second) return pos;
    }
    return end;
}

// The C library asked the processor when the program began. To ask it again takes some 20 microseconds on a
// virtual machine, as long as a typical message; where the C library does not tell, the plain kernels serve.
KernelLevel levelOfProcessor() {
#ifdef EML_HAS_FEATURES_OF_C_LIBRARY
    constexpr uint32_t kLeaf7 = 1;  // its place among the leaves that the C library holds
    constexpr size_t kEbx = 1;
    constexpr size_t kEcx = 2;
    constexpr uint32_t kAvx2 = 1U << 5;
    constexpr uint32_t kAvx512InEbx = 1U << 16 | 1U << 30;  // F, BW
    constexpr uint32_t kAvx512InEcx = 1U << 1 | 1U << 6;    // VBMI, VBMI2
    if (__x86_get_cpuid_feature_leaf == nullptr) return KernelLevel::kPlain;
    const EmlProcessorFeatures* const features = __x86_get_cpuid_feature_leaf(kLeaf7);
    if (EML_NEVER(features == nullptr)) return KernelLevel::kPlain;  // a leaf that is not there is all zeros
    if ((features->usable[kEbx] & kAvx2) == 0) return KernelLevel::kPlain;
    const uint32_t missing =
        (~features->usable[kEbx] & kAvx512InEbx) | (~features->usable[kEcx] & kAvx512InEcx);
    return missing == 0 ? KernelLevel::kAvx512 : KernelLevel::kAvx2;
#else
    return KernelLevel::kPlain;
#endif
}

}  // namespace

constinit const DecodeKernels kPlainKernels = {base64Lines, quotedText<false>, findTextRunEnd,
                                               findLineEnd, findPair,          quotedText<true>};

const DecodeKernels& chooseKernels(KernelLevel limit) {
#ifdef EML_HAS_WIDE_KERNELS
    const KernelLevel level = std::min(limit, levelOfProcessor());
    if (level == KernelLevel::kAvx512) return kAvx512Kernels;
    if (level == KernelLevel::kAvx2) return kAvx2Kernels;
#endif
    (void)limit;
    return kPlainKernels;
}

}  // namespace eml
