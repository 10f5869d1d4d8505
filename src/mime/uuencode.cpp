#include "mime/uuencode.h"

#include <algorithm>

#include "bytes/subtext.h"
#include "mime/inline_files.h"

namespace eml {

namespace {

constexpr uint32_t valueOf(char character) { return (static_cast<uint8_t>(character) - 32U) & 63U; }

// Blanks, and "`" where it stands for them.
bool isFilling(std::string_view text) { return text.find_first_not_of(" \t`") == std::string_view::npos; }

}  // namespace

UuencodeLength uuencodeLength(std::string_view line) {
    const uint32_t bytes = valueOf(line[0]);
    return {bytes, (bytes * 4 + 2) / 3, (bytes + 2) / 3 * 4};
}

bool hasUuencodeCharacters(std::string_view line) {
    return std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '`'; });
}

UuencodeBytes decodeUuencode(std::string_view line) {
    UuencodeBytes decoded{};
    decoded.count = valueOf(line[0]);
    line.remove_prefix(1);
    const auto value = [line](uint32_t place) { return place < line.size() ? valueOf(line[place]) : 0; };
    for (uint32_t from = 0, to = 0; to < decoded.count; from += 4) {
        const uint32_t group =
            value(from) << 18 | value(from + 1) << 12 | value(from + 2) << 6 | value(from + 3);
        for (uint32_t i = 0; i < 3 && to < decoded.count; ++i) {
            decoded.bytes[to++] = static_cast<uint8_t>(group >> (16 - 8 * i) & 0xFF);
        }
    }
    return decoded;
}

bool isUuencodeLengthWrong(std::string_view line) {
    const UuencodeLength length = uuencodeLength(line);
    line.remove_prefix(1);
    if (line.size() < length.needed) return true;
    return line.size() > length.full + 1 && !isFilling(subtext(line, length.full));
}

bool UuencodeDecoder::isBlankLine(const LinePiece& line) {
    return line.last && line.text.find_first_not_of(" \t") == std::string_view::npos;
}

bool UuencodeDecoder::isEnd(std::string_view line) { return isUuencodeEnd(line); }

}  // namespace eml
