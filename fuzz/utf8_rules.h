// What is UTF-8, and what is harmless on a terminal.
#pragma once

#include <cstdint>
#include <string_view>

#include "check.h"

namespace fuzz {

// Well-formed UTF-8 byte by byte: what each second byte may be after its first one. 0 where nothing is.
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

// What a terminal obeys, what ends a line, and what turns the order of text, as its bytes in UTF-8.
inline bool isHarmful(std::string_view character) {
    const auto first = static_cast<uint8_t>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    const auto last = static_cast<uint8_t>(character.back());
    const std::string_view start = character.substr(0, character.size() - 1);
    if (start == "\xC2") return last < 0xA0;
    if (start == "\xD8") return last == 0x9C;
    if (start == "\xE2\x80") return last == 0x8E || last == 0x8F || (last >= 0xA8 && last <= 0xAE);
    return start == "\xE2\x81" && last >= 0xA6 && last <= 0xA9;
}

// UTF-8 without any of that.
inline void requireHarmless(std::string_view text, const char* rule) {
    while (!text.empty()) {
        const size_t length = characterLength(text);
        require(length != 0 && !isHarmful(text.substr(0, length)), rule);
        text.remove_prefix(length);
    }
}

}  // namespace fuzz
