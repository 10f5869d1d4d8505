// The inner loops of the decoders, in a plain form and in forms for wider registers. All of them give the
// same bytes; one set is chosen for each long text.
#pragma once

#include <cstddef>
#include <cstdint>

namespace eml {

struct DecodeKernels {
    // Decodes base64 groups that consist of digits alone, at most `groups` of them, from `pos` on. `out` has
    // room for four bytes a group and moves behind the three that each gives. Returns the position of the
    // first group that is left.
    const uint8_t* (*base64Groups)(const uint8_t* pos, size_t groups, uint8_t*& out);

    // Copies bytes from [pos, end) up to the first that is `stop1` or `stop2`. `out` has room for all of them
    // and moves behind the bytes copied; what stands further on in that room may be overwritten. Returns the
    // position of the stop, or `end`.
    const uint8_t* (*copyUntil)(const uint8_t* pos, const uint8_t* end, uint8_t stop1, uint8_t stop2,
                                uint8_t*& out);

    // The first zero byte, tab, LF or CR in [pos, end), or `end`.
    const uint8_t* (*findTextRunEnd)(const uint8_t* pos, const uint8_t* end);
};

enum class KernelLevel : uint8_t { kPlain, kAvx2 };

// The best kernels of at most `most` that this processor can run.
[[nodiscard]] const DecodeKernels& chooseKernels(KernelLevel most = KernelLevel::kAvx2);

// The kernels of each level, for the choice and for tests that compare them.
extern constinit const DecodeKernels kPlainKernels;
#if defined(__x86_64__) || defined(__i386__)
extern constinit const DecodeKernels kAvx2Kernels;
#endif

// The kernels for a text of `length` bytes. Asking the processor costs some 20 microseconds on a virtual
// machine, which only a long text gives back.
[[nodiscard]] inline const DecodeKernels& kernelsForLength(int64_t length) {
    constexpr int64_t kLongText = int64_t{256} << 10;
    return length >= kLongText ? chooseKernels() : kPlainKernels;
}

}  // namespace eml
