// A position in a run of bytes that can never pass its end.
#pragma once

#include <cstring>
#include <string_view>

#include "bytes/ascii.h"

namespace eml {

struct Cursor {
    const uint8_t* pos;
    const uint8_t* end;

    // The byte at the position. At the end it is 0, which no rule takes for anything but the end of a text.
    [[nodiscard]] uint8_t peek() const { return pos < end ? *pos : uint8_t{0}; }

    // The byte `ahead` bytes further on, 0 when the run ends before it.
    [[nodiscard]] uint8_t peek(size_t ahead) const { return ahead < left() ? pos[ahead] : uint8_t{0}; }

    [[nodiscard]] size_t left() const { return static_cast<size_t>(end - pos); }

    [[nodiscard]] bool atEnd() const { return pos >= end; }

    // Moves on, at most to the end.
    void skip(size_t count) { pos += count < left() ? count : left(); }

    void skipBlanks() {
        while (pos < end && isBlank(*pos)) ++pos;
    }

    // True when the text at the position begins with `literal`, whatever the case of its letters.
    [[nodiscard]] bool startsWithNoCase(std::string_view literal) const {
        return literal.size() <= left() && equalNoCase(pos, literal.data(), literal.size());
    }

    [[nodiscard]] bool startsWith(std::string_view literal) const {
        return literal.size() <= left() && std::memcmp(pos, literal.data(), literal.size()) == 0;
    }

    // Moves past `literal` when the text begins with it.
    bool acceptNoCase(std::string_view literal) {
        if (!startsWithNoCase(literal)) return false;
        pos += literal.size();
        return true;
    }

    bool accept(uint8_t byte) {
        if (pos == end || *pos != byte) return false;
        ++pos;
        return true;
    }
};

}  // namespace eml
