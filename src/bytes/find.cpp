// Places where the needle may stand are found by its first byte and its last, many at a time. A text that has
// too many of them, made so on purpose, is left to the two-way algorithm (Crochemore and Perrin, "Two-way
// string-matching", 1991).
#include "bytes/find.h"

#include <algorithm>
#include <cstring>

#include "bytes/unreachable.h"

namespace eml {

namespace {

// A false match costs as much as passing these bytes and those of the needle. While that is less than
// what has been passed, and not much at the start, the search is linear.
constexpr size_t kCostOfPlace = 16;
constexpr size_t kFreeCost = 512;

struct Suffix {
    size_t start;
    size_t period;
};

// The largest suffix of the needle in the order of the bytes, or in the reverse order, and its period.
Suffix largestSuffix(const uint8_t* needle, size_t length, bool reverse) {
    size_t best = 0;       // where the largest suffix so far begins
    size_t candidate = 1;  // where a suffix that may be larger begins
    size_t matched = 0;    // how far the candidate equals the best one, in the current period
    size_t period = 1;
    while (candidate + matched < length) {
        const uint8_t challenger = needle[candidate + matched];
        const uint8_t holder = needle[best + matched];
        if (challenger == holder) {
            if (++matched == period) {
                candidate += period;
                matched = 0;
            }
        } else if ((challenger < holder) != reverse) {
            candidate += matched + 1;
            matched = 0;
            period = candidate - best;
        } else {
            best = candidate++;
            matched = 0;
            period = 1;
        }
    }
    return {best, period};
}

}  // namespace

SubstringFinder::SubstringFinder(const uint8_t* needle, size_t length, const DecodeKernels& kernels)
    : kernels_(&kernels), needle_(needle), length_(length), split_(0), period_(1), periodic_(false) {
    if (length == 0) return;
    const Suffix forward = largestSuffix(needle, length, false);
    const Suffix backward = largestSuffix(needle, length, true);
    const Suffix cut = forward.start > backward.start ? forward : backward;
    split_ = cut.start;
    // The period of a suffix is at most its length.
    const bool fits = !EML_NEVER(cut.period + split_ > length);
    periodic_ = fits && std::memcmp(needle, needle + cut.period, split_) == 0;
    period_ = periodic_ ? cut.period : std::max(split_, length - split_) + 1;
}

const uint8_t* SubstringFinder::find(const uint8_t* begin, const uint8_t* end) const {
    if (length_ == 0 || static_cast<size_t>(end - begin) < length_) return nullptr;
    const uint8_t* const stop = end - length_ + 1;  // no occurrence begins here or further on
    size_t cost = 0;
    for (const uint8_t* pos = begin; pos < stop; ++pos) {
        pos = kernels_->findPair(pos, stop, needle_[0], needle_[length_ - 1], length_ - 1);
        if (pos == stop) break;
        if (std::memcmp(pos, needle_, length_) == 0) return pos;
        cost += kCostOfPlace + length_;
        if (cost > kFreeCost + static_cast<size_t>(pos - begin)) return findInTwoWays(pos + 1, end);
    }
    return nullptr;
}

const uint8_t* SubstringFinder::findInTwoWays(const uint8_t* begin, const uint8_t* end) const {
    const auto count = static_cast<size_t>(end - begin);
    size_t at = 0;     // where the window stands
    size_t known = 0;  // its leading bytes that are known to match, for a periodic needle
    while (at + length_ <= count) {
        const uint8_t* const window = begin + at;
        size_t right = std::max(split_, known);
        while (right < length_ && needle_[right] == window[right]) ++right;
        if (right < length_) {
            at += right - split_ + 1;
            known = 0;
            continue;
        }
        size_t left = split_;
        while (left > known && needle_[left - 1] == window[left - 1]) --left;
        if (left <= known) return window;
        at += period_;
        known = periodic_ ? length_ - period_ : 0;
    }
    return nullptr;
}

size_t indexAfterLast(const uint8_t* bytes, size_t count, uint8_t byte) {
    if (count == 0) return 0;
#ifdef __GLIBC__
    const void* const last = memrchr(bytes, byte, count);
    return last != nullptr ? static_cast<size_t>(static_cast<const uint8_t*>(last) - bytes) + 1 : 0;
#else
    while (count != 0 && bytes[count - 1] != byte) --count;
    return count;
#endif
}

}  // namespace eml
