#include "tool/text/base64_text.h"

#include <algorithm>
#include <cstdint>

namespace emltool {

std::string base64(std::string_view bytes) {
    constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = 0;
        size_t count = std::min<size_t>(3, bytes.size() - i);
        for (size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < count ? static_cast<uint8_t>(bytes[i + k]) : 0u);
        }
        for (size_t k = 0; k < 4; ++k) {
            text.push_back(k <= count ? kAlphabet[(group >> (18 - 6 * k)) & 0x3F] : '=');
        }
    }
    return text;
}

std::string bytesOfBase64(std::string_view text) {
    std::string bytes;
    uint32_t group = 0;
    int bits = 0;
    for (char c : text) {
        uint32_t value = 0;
        if (c >= 'A' && c <= 'Z')
            value = static_cast<uint32_t>(c - 'A');
        else if (c >= 'a' && c <= 'z')
            value = static_cast<uint32_t>(c - 'a' + 26);
        else if (c >= '0' && c <= '9')
            value = static_cast<uint32_t>(c - '0' + 52);
        else if (c == '+')
            value = 62;
        else if (c == '/')
            value = 63;
        else
            break;
        group = group << 6 | value;
        bits += 6;
        if (bits < 8) continue;
        bits -= 8;
        bytes.push_back(static_cast<char>(group >> bits & 0xFF));
    }
    return bytes;
}

}  // namespace emltool
