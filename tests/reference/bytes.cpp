#include "reference/bytes.h"

namespace reference {

std::string shown(const Bytes& bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string text = "\"";
    for (const uint8_t byte : bytes) {
        if (byte >= 0x20 && byte < 0x7F) {
            text += static_cast<char>(byte);
        } else {
            text += "\\x";
            text += kHex[byte >> 4];
            text += kHex[byte & 15];
        }
    }
    return text + '"';
}

}  // namespace reference
