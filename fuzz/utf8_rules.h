// What is UTF-8, and what is harmless on a terminal.
#pragma once

#include <cstdint>
#include <string_view>

#include "check.h"
#include "tool/utf8.h"
#include "tool/visible_text.h"

namespace fuzz {

// Well-formed UTF-8 byte by byte: what each second byte may be behind its first one. 0 where nothing is.
inline size_t characterLength(std::string_view text) {
    const auto byte = [text](size_t i) { return i < text.size() ? static_cast<uint8_t>(text[i]) : 0; };
    const auto between = [&byte](size_t i, int low, int high) { return byte(i) >= low && byte(i) <= high; };
    if (between(0, 0x00, 0x7F)) return 1;
    if (between(0, 0xC2, 0xDF)) return between(1, 0x80, 0xBF) ? 2 : 0;
    const bool third = between(2, 0x80, 0xBF);
    if (between(0, 0xE0, 0xEF)) {
        const int low = byte(0) == 0xE0 ? 0xA0 : 0x80;
        return third && between(1, low, byte(0) == 0xED ? 0x9F : 0xBF) ? 3 : 0;
    }
    if (!between(0, 0xF0, 0xF4)) return 0;
    const int low = byte(0) == 0xF0 ? 0x90 : 0x80;
    const bool second = between(1, low, byte(0) == 0xF4 ? 0x8F : 0xBF);
    return second && third && between(3, 0x80, 0xBF) ? 4 : 0;
}

inline bool isWellFormed(std::string_view text) {
    while (!text.empty()) {
        const size_t length = characterLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

// UTF-8 without anything that a terminal obeys or that turns the order of text.
inline void requireHarmless(std::string_view text, const char* rule) {
    require(isWellFormed(text), rule);
    for (size_t position = 0; position < text.size();) {
        const char32_t character = emltool::nextCharacter(text, position);
        require(!emltool::isControl(character) && !emltool::isDirectionOverride(character), rule);
    }
}

}  // namespace fuzz
