// The kernels for 256-bit registers, which those for wider ones build on.
#pragma once

#include "bytes/decode_kernels.h"

#ifdef EML_HAS_WIDE_KERNELS

// The functions of kAvx2Kernels. They need a processor that has AVX2.
namespace eml::avx2 {

[[nodiscard]] const uint8_t* base64Lines(const uint8_t* pos, const uint8_t* end, uint8_t*& out,
                                         const uint8_t* outEnd);
[[nodiscard]] const uint8_t* quotedText(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                        uint8_t*& out);
[[nodiscard]] const uint8_t* quotedDigits(const uint8_t* pos, const uint8_t* end, QuotedStops stops,
                                          uint8_t*& out);
[[nodiscard]] const uint8_t* findTextRunEnd(const uint8_t* pos, const uint8_t* end);
[[nodiscard]] const uint8_t* findLineEnd(const uint8_t* pos, const uint8_t* end, const uint8_t*& zero);
[[nodiscard]] const uint8_t* findPair(const uint8_t* pos, const uint8_t* end, uint8_t first, uint8_t second,
                                      size_t distance);

}  // namespace eml::avx2

#endif
