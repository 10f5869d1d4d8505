#include "bytes/decode_kernels.h"

#include <array>
#include <bit>
#include <cstring>

#include "bytes/decode_tables.h"
#include "bytes/text_run.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
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

const uint8_t* base64Groups(const uint8_t* pos, size_t groups, uint8_t*& out) {
    for (; groups != 0; --groups) {
        const uint32_t group = kGroupTables[0][pos[0]] | kGroupTables[1][pos[1]] | kGroupTables[2][pos[2]] |
                               kGroupTables[3][pos[3]];
        if ((group & kInvalidGroup) != 0) break;
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(out, &group, sizeof group);
        } else {
            for (int i = 0; i < 3; ++i) out[i] = static_cast<uint8_t>(group >> (8 * i));
        }
        out += 3;
        pos += 4;
    }
    return pos;
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

const uint8_t* copyUntil(const uint8_t* pos, const uint8_t* end, uint8_t stop1, uint8_t stop2,
                         uint8_t*& out) {
    while (static_cast<size_t>(end - pos) >= kWide) {
        const uint64_t bytes = loadWide(pos);
        std::memcpy(out, &bytes, kWide);
        const uint64_t stops = matches(bytes, stop1) | matches(bytes, stop2);
        if (stops != 0) {
            if constexpr (std::endian::native != std::endian::little) break;
            const auto count = static_cast<size_t>(std::countr_zero(stops)) / 8;
            out += count;
            return pos + count;
        }
        pos += kWide;
        out += kWide;
    }
    while (pos < end && *pos != stop1 && *pos != stop2) *out++ = *pos++;
    return pos;
}

#if defined(__x86_64__) || defined(__i386__)

// Whether the processor has 256-bit integer instructions, and the system saves their registers.
bool hasAvx2() {
    constexpr uint32_t kYmmState = 6;
    uint32_t a = 0;
    uint32_t b = 0;
    uint32_t c = 0;
    uint32_t d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0) return false;
    __asm__("xgetbv" : "=a"(a), "=d"(d) : "c"(0));
    if ((a & kYmmState) != kYmmState) return false;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_AVX2) != 0;
}

#endif

}  // namespace

constinit const DecodeKernels kPlainKernels = {base64Groups, copyUntil, findTextRunEnd};

const DecodeKernels& chooseKernels(KernelLevel most) {
#if defined(__x86_64__) || defined(__i386__)
    if (most == KernelLevel::kAvx2 && hasAvx2()) return kAvx2Kernels;
#endif
    (void)most;
    return kPlainKernels;
}

}  // namespace eml
