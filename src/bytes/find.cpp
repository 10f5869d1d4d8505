// The two-way algorithm (Crochemore and Perrin, "Two-way string-matching", 1991) with a shift by the last
// byte of the window in front of it, which is what makes it fast on ordinary text.
#include "bytes/find.h"

#include <algorithm>
#include <cstring>

namespace eml {

namespace {

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

SubstringFinder::SubstringFinder(const uint8_t* needle, size_t length)
    : needle_(needle), length_(length), split_(0), period_(1), periodic_(false), shift_{} {
    if (length == 0) return;
    const Suffix forward = largestSuffix(needle, length, false);
    const Suffix backward = largestSuffix(needle, length, true);
    const Suffix cut = forward.start > backward.start ? forward : backward;
    split_ = cut.start;
    periodic_ = cut.period + split_ <= length && std::memcmp(needle, needle + cut.period, split_) == 0;
    period_ = periodic_ ? cut.period : std::max(split_, length - split_) + 1;
    shift_.fill(static_cast<uint32_t>(length));
    for (size_t i = 0; i < length; ++i) shift_[needle[i]] = static_cast<uint32_t>(length - 1 - i);
}

const uint8_t* SubstringFinder::find(const uint8_t* begin, const uint8_t* end) const {
    if (length_ == 0) return nullptr;
    const auto count = static_cast<size_t>(end - begin);
    size_t at = 0;     // where the window stands
    size_t known = 0;  // its leading bytes that are known to match, for a periodic needle
    while (at + length_ <= count) {
        const uint8_t* const window = begin + at;
        if (const size_t shift = shift_[window[length_ - 1]]; shift != 0) {
            at += std::max(shift, known);
            known = 0;
            continue;
        }
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

}  // namespace eml
