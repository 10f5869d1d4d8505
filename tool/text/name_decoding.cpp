#include "tool/text/name_decoding.h"

#include <array>
#include <cstdint>
#include <optional>

#include "tool/text/charset_labels.h"

namespace emltool {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The byte that two hex digits at `position` give; -1 if there are none.
int hexByte(std::string_view text, size_t position) {
    if (text.size() < position + 2) return -1;
    int high = hexDigit(text[position]);
    int low = hexDigit(text[position + 1]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

std::string decodeQ(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        int value = text[i] == '=' ? hexByte(text, i + 1) : -1;
        if (value >= 0) {
            bytes.push_back(static_cast<char>(value));
            i += 2;
        } else {
            bytes.push_back(text[i] == '_' ? ' ' : text[i]);
        }
    }
    return bytes;
}

std::string decodeB(std::string_view text) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    uint32_t bits = 0;
    int count = 0;
    for (char c : text) {
        if (c == '=') break;
        size_t value = kAlphabet.find(c);
        if (value == std::string_view::npos) continue;
        bits = (bits << 6 | static_cast<uint32_t>(value)) & 0xFFFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>(static_cast<uint8_t>(bits >> count)));
        }
    }
    return bytes;
}

// One encoded word: =?charset?B|Q?text?=
struct EncodedWord {
    std::string_view charset;
    std::string bytes;
    size_t end;  // position after it
};

std::optional<EncodedWord> encodedWordAt(std::string_view text, size_t start) {
    if (text.substr(start, 2) != "=?") return std::nullopt;
    size_t charsetEnd = text.find('?', start + 2);
    if (charsetEnd == std::string_view::npos || text.size() < charsetEnd + 3) return std::nullopt;
    char encoding = text[charsetEnd + 1];
    if (text[charsetEnd + 2] != '?') return std::nullopt;
    // The text may be broken and contain blanks; it still ends at the first "?=".
    size_t contentStart = charsetEnd + 3;
    size_t contentEnd = text.find("?=", contentStart);
    if (contentEnd == std::string_view::npos) return std::nullopt;

    EncodedWord word{text.substr(start + 2, charsetEnd - start - 2), {}, contentEnd + 2};
    std::string_view content = text.substr(contentStart, contentEnd - contentStart);
    if (encoding == 'q' || encoding == 'Q') {
        word.bytes = decodeQ(content);
    } else if (encoding == 'b' || encoding == 'B') {
        word.bytes = decodeB(content);
    } else {
        return std::nullopt;
    }
    return word;
}

// Text with encoded words in it. Blanks between two words are dropped. Adjacent words in one charset are
// converted together, since mailers split characters between words.
std::string decodeWords(std::string_view text, uint32_t charset) {
    std::string result;
    size_t plainStart = 0;
    size_t position = text.find("=?");
    while (position != std::string_view::npos) {
        std::optional<EncodedWord> word = encodedWordAt(text, position);
        if (!word) {
            position = text.find("=?", position + 1);
            continue;
        }
        result += fromUnlabelledCharset(text.substr(plainStart, position - plainStart), charset);
        for (;;) {
            size_t next = text.find_first_not_of(kBlanks, word->end);
            std::optional<EncodedWord> following;
            if (next != std::string_view::npos) following = encodedWordAt(text, next);
            if (following && following->charset == word->charset) {
                following->bytes.insert(0, word->bytes);
            } else {
                std::optional<std::string> decoded = fromLabelledCharset(word->charset, word->bytes);
                result += decoded ? *decoded : fromUnlabelledCharset(word->bytes, charset);
                if (!following) break;
            }
            word = std::move(following);
        }
        plainStart = word->end;
        position = text.find("=?", plainStart);
    }
    return result + fromUnlabelledCharset(text.substr(plainStart), charset);
}

// Some mailers write an RFC 2231 value where a plain one belongs: utf-8''na%C3%AFve.txt. Only an unmistakable
// one is decoded: a known charset, a language without blanks, at least one %xx and no stray "%". The shortest
// labels of iconv are also words ("it", "no", "us"), and mail does not use them.
std::optional<std::string> decodePercentForm(std::string_view name) {
    size_t language = name.find('\'');
    constexpr size_t kShortestLabel = 4;
    if (language == std::string_view::npos || language < kShortestLabel) return std::nullopt;
    size_t value = name.find('\'', language + 1);
    if (value == std::string_view::npos || name.substr(0, value).find(' ') != std::string_view::npos) {
        return std::nullopt;
    }
    std::string bytes;
    bool escaped = false;
    for (size_t i = value + 1; i < name.size(); ++i) {
        if (name[i] != '%') {
            bytes.push_back(name[i]);
            continue;
        }
        int byte = hexByte(name, i + 1);
        if (byte < 0) return std::nullopt;
        bytes.push_back(static_cast<char>(byte));
        escaped = true;
        i += 2;
    }
    if (!escaped) return std::nullopt;
    return fromLabelledCharset(name.substr(0, language), bytes);
}

}  // namespace

std::string decodeName(std::string_view name, uint32_t charset) {
    if (std::optional<std::string> decoded = decodePercentForm(name)) return *decoded;
    return decodeWords(name, charset);
}

}  // namespace emltool
