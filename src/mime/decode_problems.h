// What is wrong with the content of a part, counted while it is decoded.
#pragma once

#include <cstdint>

namespace eml {

// One kind of problem: how often, and where in the file first.
struct Problem {
    uint64_t count;
    uint64_t first;

    void note(uint64_t offset, uint64_t times = 1) {
        if (count == 0) first = offset;
        count += times;
    }
};

struct DecodeProblems {
    Problem base64Character;
    Problem base64Padding;
    Problem base64CutOff;
    Problem quotedEscape;
    Problem uuencodeLine;
    Problem yencDamaged;
    Problem eightBit;  // 8-bit bytes where the encoding promises none
    Problem cutOff;    // a file between its first and its last line lacks the last one
};

}  // namespace eml
