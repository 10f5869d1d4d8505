// The inner loops of the readers, in a plain form and in forms for wider registers. All of them give the same
// bytes; one set is chosen at each open and held in the context.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#define EML_HAS_WIDE_KERNELS
#endif

namespace eml {

// What the quoted-printable kernel leaves to the state machine.
struct QuotedStops {
    // Stands for a decoded byte that no rule touches.
    static constexpr uint16_t kNone = 0x100;

    bool underscoreIsSpace;
    uint16_t byte1;  // a decoded byte that a rule touches, or kNone
    uint16_t byte2;  // another
};

struct DecodeKernels {
    // Decodes base64 groups that consist of digits alone, line ends between them included, from [pos, end).
    // Four bytes of [out, outEnd) must be free for each group. `out` moves past what was decoded; what
    // stands further on in that room may be overwritten. Returns the position of the first byte that is left.
    const uint8_t* (*base64Lines)(const uint8_t* pos, const uint8_t* end, uint8_t*& out,
                                  const uint8_t* outEnd);

    // Decodes quoted-printable text from [pos, end): plain bytes, soft line breaks that stand whole, escapes
    // whose byte is not one of `stops`. `out` has room for end - pos bytes and moves past what was decoded;
    // what stands further on in that room may be overwritten. Returns the position of the "=" that is left,
    // or `end`.
    const uint8_t* (*quotedText)(const uint8_t* pos, const uint8_t* end, QuotedStops stops, uint8_t*& out);

    // The first zero byte, tab, LF or CR in [pos, end), or `end`.
    const uint8_t* (*findTextRunEnd)(const uint8_t* pos, const uint8_t* end);

    // The first LF or CR in [pos, end), or `end`. `zero` becomes the first zero byte before that, or it.
    const uint8_t* (*findLineEnd)(const uint8_t* pos, const uint8_t* end, const uint8_t*& zero);

    // The first position in [pos, end) where `first` stands, and `second` stands `distance` bytes further on;
    // or `end`. The text goes on for `distance` bytes after `end`.
    const uint8_t* (*findPair)(const uint8_t* pos, const uint8_t* end, uint8_t first, uint8_t second,
                               size_t distance);

    // As quotedText, but "=" without a line end or two digits after it is left, too.
    const uint8_t* (*quotedDigits)(const uint8_t* pos, const uint8_t* end, QuotedStops stops, uint8_t*& out);
};

enum class KernelLevel : uint8_t { kPlain, kAvx2, kAvx512 };

// The best kernels of at most level `limit` that this processor can run.
[[nodiscard]] const DecodeKernels& chooseKernels(KernelLevel limit = KernelLevel::kAvx512);

// The kernels of each level, for the choice and for tests that compare them.
extern constinit const DecodeKernels kPlainKernels;
#ifdef EML_HAS_WIDE_KERNELS
extern constinit const DecodeKernels kAvx2Kernels;
extern constinit const DecodeKernels kAvx512Kernels;
#endif

}  // namespace eml
