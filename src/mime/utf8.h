// UTF-8 (RFC 3629): no surrogates, nothing overlong, nothing above U+10FFFF. One step at a time, so that every use
// agrees on what is valid and on how many bytes one U+FFFD replaces: the longest beginning of a character.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace eml {

inline constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

enum class Utf8Kind : uint8_t {
    kCharacter,
    kInvalid,
    kCut,  // the bytes begin a character that the text does not complete
};

struct Utf8Step {
    Utf8Kind kind;
    uint8_t length;  // bytes of the character, of what is invalid, or of what is there; at least 1
};

// What stands at `pos`. There is at least one byte.
[[nodiscard]] constexpr Utf8Step utf8At(const uint8_t* pos, const uint8_t* end) {
    const uint8_t lead = *pos;
    if (lead < 0x80) return {Utf8Kind::kCharacter, 1};
    if (lead < 0xC2 || lead > 0xF4) return {Utf8Kind::kInvalid, 1};
    const uint8_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte has a range of its own after four of the leads; the others have the common one.
    uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    for (uint8_t i = 1; i < length; ++i) {
        if (pos + i == end) return {Utf8Kind::kCut, i};
        if (pos[i] < low || pos[i] > high) return {Utf8Kind::kInvalid, i};
        low = 0x80;
        high = 0xBF;
    }
    return {Utf8Kind::kCharacter, length};
}

// The UTF-8 form of a character of the Basic Multilingual Plane. Gives the new end of the text.
inline uint8_t* putCharacter(uint32_t character, uint8_t* out) {
    if (character < 0x80) {
        *out++ = static_cast<uint8_t>(character);
        return out;
    }
    if (character < 0x800) {
        *out++ = static_cast<uint8_t>(0xC0 | character >> 6);
    } else {
        *out++ = static_cast<uint8_t>(0xE0 | (character >> 12 & 0x0F));
        *out++ = static_cast<uint8_t>(0x80 | (character >> 6 & 0x3F));
    }
    *out++ = static_cast<uint8_t>(0x80 | (character & 0x3F));
    return out;
}

}  // namespace eml
