// What a decoder carries from one byte to the next, so that another one can go on there.
#pragma once

#include <array>
#include <cstdint>

namespace eml {

struct Base64Mark {
    std::array<uint8_t, 4> group;
    uint32_t have;  // characters of the group so far
    bool padded;
};

enum class QuotedPrintableState : uint8_t {
    kText,
    kEquals,   // after "="
    kDigit,    // after "=" and one digit
    kSoftCr,   // after "=" CR: an LF still belongs to the soft line break
    kBlank,    // after "=20", where that joins lines
    kBlankCr,  // after "=20" CR: the next byte is swallowed
};

struct QuotedPrintableMark {
    QuotedPrintableState state;
    uint8_t digit;
};

}  // namespace eml
