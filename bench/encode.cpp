#include "bench/encode.h"

#include <algorithm>

namespace emlbench {

namespace {

constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr size_t kBytesPerLine = 57;
constexpr size_t kLongestLine = 76;

void appendGroup(std::span<const uint8_t> bytes, std::string& out) {
    uint32_t group = 0;
    for (size_t i = 0; i < 3; ++i) group = group << 8 | (i < bytes.size() ? bytes[i] : 0u);
    for (size_t i = 0; i < 4; ++i) {
        out += i <= bytes.size() ? kBase64Digits[group >> (18 - 6 * i) & 63] : '=';
    }
}

}  // namespace

std::string base64Lines(std::span<const uint8_t> bytes) {
    std::string out;
    out.reserve(bytes.size() / kBytesPerLine * (kLongestLine + 2) + kLongestLine + 2);
    while (!bytes.empty()) {
        std::span<const uint8_t> line = bytes.first(std::min(bytes.size(), kBytesPerLine));
        bytes = bytes.subspan(line.size());
        while (!line.empty()) {
            const std::span<const uint8_t> group = line.first(std::min<size_t>(line.size(), 3));
            appendGroup(group, out);
            line = line.subspan(group.size());
        }
        out += "\r\n";
    }
    return out;
}

std::string quotedPrintableLines(std::string_view text) {
    std::string out;
    size_t column = 0;
    for (const char character : text) {
        const auto byte = static_cast<uint8_t>(character);
        const bool escaped = byte > 126 || byte == '=' || (byte < 32 && byte != '\t');
        const size_t width = escaped ? 3 : 1;
        if (column + width >= kLongestLine) {  // the last column is for the "=" of the soft line break
            out += "=\r\n";
            column = 0;
        }
        if (escaped) {
            out += '=';
            out += kHexDigits[byte >> 4];
            out += kHexDigits[byte & 15];
        } else {
            out += character;
        }
        column += width;
    }
    return out += "\r\n";
}

}  // namespace emlbench
