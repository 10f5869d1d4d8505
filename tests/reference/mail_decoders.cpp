#include "reference/mail_decoders.h"

#include <algorithm>
#include <string>
#include <vector>

namespace reference {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int digitOf(uint8_t byte, bool urlToo) {
    if (urlToo && byte == '-') return 62;
    if (urlToo && byte == '_') return 63;
    const std::string alphabet(kAlphabet);
    const size_t place = alphabet.find(static_cast<char>(byte));
    return place == std::string::npos ? -1 : static_cast<int>(place);
}

// The whole bytes in a row of digits.
void putDigits(const std::vector<int>& digits, Bytes& out) {
    std::string bits;
    for (const int digit : digits) {
        for (int bit = 5; bit >= 0; --bit) bits += (digit >> bit & 1) != 0 ? '1' : '0';
    }
    for (size_t from = 0; from + 8 <= bits.size(); from += 8) {
        out.push_back(static_cast<uint8_t>(std::stoi(bits.substr(from, 8), nullptr, 2)));
    }
}

int hexOf(uint8_t byte) {
    const std::string digits("0123456789abcdef");
    const size_t place = digits.find(static_cast<char>(byte >= 'A' && byte <= 'F' ? byte + 32 : byte));
    return place == std::string::npos || byte == 0 ? -1 : static_cast<int>(place);
}

struct FlowedLine {
    size_t depth = 0;
    std::string text;
    bool signature = false;
    bool flows = false;
};

FlowedLine readFlowed(std::string line, bool delSp) {
    FlowedLine read;
    while (read.depth < line.size() && line[read.depth] == '>') ++read.depth;
    line.erase(0, read.depth);
    if (!line.empty() && line[0] == ' ') line.erase(0, 1);
    read.signature = line == "-- ";
    read.flows = !read.signature && !line.empty() && line.back() == ' ';
    if (read.flows && delSp) line.pop_back();
    read.text = line;
    return read;
}

}  // namespace

MailDecoded decodeMailBase64(const Bytes& input) {
    MailDecoded result;
    std::vector<int> group;
    size_t wanted = 0;  // "=" to come
    bool padded = false;
    bool urlToo = true;
    for (const uint8_t byte : input) {
        if (byte == '+' || byte == '/') urlToo = false;
        const int digit = digitOf(byte, urlToo);
        if (digit >= 0) {
            if (padded) ++result.padding;
            padded = false;
            wanted = 0;
            group.push_back(digit);
            if (group.size() == 4) {
                putDigits(group, result.bytes);
                group.clear();
            }
        } else if (byte == '=') {
            if (group.size() >= 2) {
                putDigits(group, result.bytes);
                wanted = 3 - group.size();
                group.clear();
                padded = true;
            } else if (wanted > 0) {
                --wanted;
            } else {
                ++result.padding;
            }
        } else if (byte != ' ' && byte != '\t' && byte != '\r' && byte != '\n') {
            ++result.characters;
        }
    }
    if (group.size() == 1) ++result.cutOff;
    if (group.size() >= 2 || wanted > 0) ++result.padding;
    putDigits(group, result.bytes);
    return result;
}

MailDecoded decodeMailQuotedPrintable(const Bytes& input) {
    MailDecoded result;
    const auto at = [&](size_t place) { return place < input.size() ? int{input[place]} : -1; };
    for (size_t i = 0; i < input.size(); ++i) {
        if (input[i] != '=') {
            result.bytes.push_back(input[i]);
            continue;
        }
        size_t next = i + 1;
        while (next - i <= 80 && (at(next) == ' ' || at(next) == '\t')) ++next;
        if (at(next) == -1) break;  // nothing but blanks after it
        if (at(next) == '\n') {
            i = next;
        } else if (at(next) == '\r') {
            i = at(next + 1) == '\n' ? next + 1 : next;
        } else if (at(i + 2) != -1 && hexOf(input[i + 1]) >= 0 && hexOf(input[i + 2]) >= 0) {
            result.bytes.push_back(static_cast<uint8_t>(hexOf(input[i + 1]) * 16 + hexOf(input[i + 2])));
            i += 2;
        } else {
            ++result.escapes;
            result.bytes.push_back('=');
        }
    }
    return result;
}

std::string joinFlowed(const std::string& text, bool delSp) {
    std::string joined;
    FlowedLine before;
    bool first = true;
    for (size_t from = 0; from < text.size();) {
        const size_t end = std::min(text.find('\n', from), text.size());
        const FlowedLine line = readFlowed(text.substr(from, end - from), delSp);
        const bool joins = !first && before.flows && before.depth == line.depth && !line.signature;
        if (!joins) {
            if (!first) joined += '\n';
            joined += std::string(line.depth, '>');
            if (line.depth != 0) joined += ' ';
        }
        joined += line.text;
        before = line;
        first = false;
        from = end + 1;
    }
    if (!text.empty() && text.back() == '\n') joined += '\n';
    return joined;
}

}  // namespace reference
