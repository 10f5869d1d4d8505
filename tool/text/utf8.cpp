#include "tool/text/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace emltool {

namespace {

constexpr uint64_t kOnes = 0x0101010101010101;
constexpr uint64_t kHighBits = 0x80 * kOnes;

// Whether a byte of the eight is zero.
constexpr bool hasZero(uint64_t bytes) { return ((bytes - kOnes) & ~bytes & kHighBits) != 0; }

// Whether one of eight ASCII bytes is below ' '.
constexpr bool hasControl(uint64_t bytes) {
    return (((bytes | kHighBits) - 0x20 * kOnes) & kHighBits) != kHighBits;
}

// The first byte from `position` on that is not `isWanted`; `areWanted` tells of eight of them.
template <typename IsWanted, typename AreWanted>
size_t endOf(std::string_view text, size_t position, IsWanted isWanted, AreWanted areWanted) {
    constexpr size_t kAtOnce = sizeof(uint64_t);
    for (; text.size() - position >= kAtOnce; position += kAtOnce) {
        uint64_t bytes = 0;
        std::memcpy(&bytes, text.data() + position, kAtOnce);
        if (!areWanted(bytes)) break;
    }
    while (position < text.size() && isWanted(static_cast<uint8_t>(text[position]))) ++position;
    return position;
}

// How many bytes at the end of `text` begin a character and lack its end.
size_t cutCharacter(std::string_view text) {
    for (size_t back = 1; back <= std::min<size_t>(3, text.size()); ++back) {
        const auto byte = static_cast<uint8_t>(text[text.size() - back]);
        if (byte < 0x80) return 0;
        if (byte >= 0xC0) return back < (byte >= 0xF0 ? 4U : byte >= 0xE0 ? 3U : 2U) ? back : 0;
    }
    return 0;
}

}  // namespace

char32_t nextCharacter(std::string_view text, size_t& position) noexcept {
    auto byteAt = [text](size_t at) { return static_cast<uint8_t>(text[at]); };
    uint8_t first = byteAt(position++);
    if (first < 0x80) return first;

    size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4 || text.size() - position < more) return kNoCharacter;
    char32_t character = first & (0x3Fu >> more);
    for (size_t i = 0; i < more; ++i) {
        uint8_t next = byteAt(position + i);
        if ((next & 0xC0) != 0x80) return kNoCharacter;
        character = character << 6 | (next & 0x3Fu);
    }
    constexpr char32_t kMinOfLength[] = {0, 0x80, 0x800, 0x10000};
    bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < kMinOfLength[more] || character > 0x10FFFF || surrogate) return kNoCharacter;
    position += more;
    return character;
}

size_t asciiEnd(std::string_view text, size_t position) noexcept {
    return endOf(
        text, position, [](uint8_t byte) { return byte < 0x80; },
        [](uint64_t bytes) { return (bytes & kHighBits) == 0; });
}

size_t printableAsciiEnd(std::string_view text, size_t position) noexcept {
    constexpr uint8_t kDelete = 0x7F;
    return endOf(
        text, position, [](uint8_t byte) { return byte >= ' ' && byte < kDelete; },
        [](uint64_t bytes) {
            return (bytes & kHighBits) == 0 && !hasControl(bytes) && !hasZero(bytes ^ (kDelete * kOnes));
        });
}

bool isUtf8(std::string_view text) noexcept {
    for (size_t position = asciiEnd(text, 0); position < text.size(); position = asciiEnd(text, position)) {
        if (nextCharacter(text, position) == kNoCharacter) return false;
    }
    return true;
}

void Utf8Check::feed(std::string_view piece) {
    if (!isValid_) return;
    const std::string text = cut_ + std::string(piece);
    const size_t whole = text.size() - cutCharacter(text);
    isValid_ = isUtf8(std::string_view(text).substr(0, whole));
    cut_ = text.substr(whole);
}

void appendUtf8(std::string& text, char32_t character) {
    auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(static_cast<uint8_t>(byte))); };
    if (character < 0x80) {
        put(character);
        return;
    }
    int shift = character < 0x800 ? 6 : character < 0x10000 ? 12 : 18;
    constexpr char32_t kLead[] = {0xC0, 0xE0, 0xF0};
    put(kLead[shift / 6 - 1] | character >> shift);
    while (shift > 0) {
        shift -= 6;
        put(0x80 | ((character >> shift) & 0x3F));
    }
}

std::string withoutInvalidBytes(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    size_t kept = 0;  // up to here `text` is in `result`
    for (size_t position = asciiEnd(text, 0); position < text.size(); position = asciiEnd(text, position)) {
        const size_t start = position;
        if (nextCharacter(text, position) != kNoCharacter) continue;
        result.append(text, kept, start - kept);
        appendUtf8(result, U'\uFFFD');
        kept = position;
    }
    return result.append(text, kept);
}

}  // namespace emltool
