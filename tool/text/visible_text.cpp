#include "tool/text/visible_text.h"

#include <clocale>
#include <cstdint>
#include <cwchar>

#include "tool/text/format.h"
#include "tool/text/utf8.h"

namespace emltool {

bool isControl(char32_t character) noexcept {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 ||
           character == 0x2029;
}

bool isDirectionOverride(char32_t character) noexcept {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

std::string visible(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    size_t kept = 0;  // up to here `text` is in `result`
    for (size_t position = printableAsciiEnd(text, 0); position < text.size();
         position = printableAsciiEnd(text, position)) {
        const size_t start = position;
        char32_t character = nextCharacter(text, position);
        const bool isInvalid = character == kNoCharacter;
        if (!isInvalid && !isControl(character) && !isDirectionOverride(character)) continue;
        result.append(text, kept, start - kept);
        kept = position;
        auto code = isInvalid ? static_cast<uint8_t>(text[start]) : static_cast<uint32_t>(character);
        result += code < 0x100 ? formatted("\\x{:02x}", code) : formatted("\\u{:04x}", code);
    }
    return result.append(text, kept);
}

size_t displayWidth(std::string_view text) {
    const size_t ascii = printableAsciiEnd(text, 0);
    if (ascii == text.size()) return ascii;
    // The width of a character depends on the locale, and output is UTF-8 in every locale.
    static const locale_t utf8Locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    locale_t before = utf8Locale != locale_t{} ? ::uselocale(utf8Locale) : locale_t{};
    size_t width = 0;
    for (size_t position = 0; position < text.size();) {
        char32_t character = nextCharacter(text, position);
        int columns = ::wcwidth(static_cast<wchar_t>(character));
        width += columns < 0 ? 1 : static_cast<size_t>(columns);
    }
    if (before != locale_t{}) ::uselocale(before);
    return width;
}

std::string shellWord(std::string_view name) {
    std::string shown = visible(name);
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./+,:@%=";
    bool plain = !shown.empty();
    for (char c : shown) {
        plain = plain && (kPlain.find(c) != std::string_view::npos || (static_cast<uint8_t>(c) & 0x80) != 0);
    }
    if (plain) return shown;
    std::string quoted = "'";
    for (char c : shown) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

std::string humanSize(unsigned long long bytes) {
    if (bytes < 1000) return std::to_string(bytes) + " B ";
    constexpr const char* kUnits[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    double value = static_cast<double>(bytes) / 1000;
    size_t unit = 0;
    // A value of A value of 999.5 would be rounded to four digits.
    while (value >= 999.5 && unit + 1 < std::size(kUnits)) {
        value /= 1000;
        ++unit;
    }
    return formatted("{:.{}f} {}", value, value < 9.95 ? 1 : 0, kUnits[unit]);
}

}  // namespace emltool
