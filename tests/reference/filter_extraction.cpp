#include "reference/filter_extraction.h"

namespace reference {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The value of a base64 digit; an invalid one is 127.
unsigned base64Value(char byte) {
    const size_t at = kDigits.find(byte);
    return at == std::string_view::npos ? 127U : static_cast<unsigned>(at);
}

unsigned hexValue(char byte) {
    const std::string_view digits = "0123456789ABCDEFabcdef";
    const size_t at = digits.find(byte);
    if (at == std::string_view::npos) return 127U;
    return static_cast<unsigned>(at < 16 ? at : at - 6);
}

// The byte that is missing has the value of an invalid one.
unsigned hexValueAt(std::string_view body, size_t at) { return at < body.size() ? hexValue(body[at]) : 127U; }

}  // namespace

std::string extractedBase64(std::string_view body, bool dropCr) {
    std::string output;
    std::string group;
    const auto put = [&](unsigned value) {
        const auto byte = static_cast<char>(value & 0xFF);
        if (byte != '\r' || !dropCr) output += byte;
    };
    for (const char byte : body) {
        if (group.empty() && byte == '-') return output;
        if (byte != '=' && base64Value(byte) == 127) continue;
        group += byte;
        if (group.size() < 4) continue;
        if (group[0] == '=' || group[1] == '=') return output;
        put(base64Value(group[0]) * 4 | base64Value(group[1]) >> 4);
        if (group[2] == '=') return output;
        put(base64Value(group[1]) * 16 | base64Value(group[2]) >> 2);
        if (group[3] == '=') return output;
        put(base64Value(group[2]) * 64 | base64Value(group[3]));
        group.clear();
    }
    return output;
}

std::string extractedQuotedPrintable(std::string_view body) {
    std::string output;
    for (size_t at = 0; at < body.size();) {
        if (body[at] != '=') {
            output += body[at++];
            continue;
        }
        const std::string_view after = body.substr(at + 1);
        if (after.starts_with("\r\n")) {
            at += 3;
        } else if (after.starts_with("\r") || after.starts_with("\n")) {
            at += 2;
        } else {
            const unsigned value = hexValueAt(after, 0) * 16 | hexValueAt(after, 1);
            output += static_cast<char>(value & 0xFF);
            at += 3;
        }
    }
    return output;
}

}  // namespace reference
