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

}  // namespace emltool
