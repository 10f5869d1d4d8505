// Substring search that is linear in the worst case, whatever the text and the needle.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bytes/decode_kernels.h"

namespace eml {

// Prepared once for a needle, then used on any number of texts. The needle must outlive the finder. A zeroed
// finder has an empty needle.
class SubstringFinder {
  public:
    SubstringFinder() = default;
    SubstringFinder(const uint8_t* needle, size_t length, const DecodeKernels& kernels = kPlainKernels);

    // The first occurrence in [begin, end), or NULL. An empty needle occurs nowhere.
    [[nodiscard]] const uint8_t* find(const uint8_t* begin, const uint8_t* end) const;

  private:
    [[nodiscard]] const uint8_t* findInTwoWays(const uint8_t* begin, const uint8_t* end) const;

    const DecodeKernels* kernels_;
    const uint8_t* needle_;
    size_t length_;
    size_t split_;   // where the critical factorization cuts the needle
    size_t period_;  // how far a full match of the right half may move
    bool periodic_;  // the left half repeats in the right one: a match may keep a memory of it
};

// The index after the last of `count` bytes that equals `byte`; 0 without one.
[[nodiscard]] size_t indexAfterLast(const uint8_t* bytes, size_t count, uint8_t byte);

}  // namespace eml
