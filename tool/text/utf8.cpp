#include "tool/text/utf8.h"

#include <algorithm>
#include <cstdint>

namespace emltool {

namespace {

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

bool isUtf8(std::string_view text) noexcept {
    for (size_t position = 0; position < text.size();) {
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
    for (size_t position = 0; position < text.size();) {
        char32_t character = nextCharacter(text, position);
        appendUtf8(result, character == kNoCharacter ? U'\uFFFD' : character);
    }
    return result;
}

}  // namespace emltool
