#include "mime/yenc.h"

#include <array>

#include "bytes/decode_tables.h"
#include "bytes/subtext.h"
#include "mime/inline_files.h"

namespace eml {

namespace {

constexpr std::array<uint32_t, 256> kCrcTable = [] {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit) rest = (rest & 1) != 0 ? rest >> 1 ^ 0xEDB88320 : rest >> 1;
        table[byte] = rest;
    }
    return table;
}();

// The digits at the start of `text` as a number to `base`; nothing without one, and when 64 bits are too few.
std::optional<uint64_t> numberAt(std::string_view text, uint32_t base) {
    std::optional<uint64_t> number;
    for (const char c : text) {
        const uint8_t digit = kHexTable[static_cast<uint8_t>(c)];
        if (digit >= base) break;
        if (number.value_or(0) > (UINT64_MAX - digit) / base) return std::nullopt;
        number = number.value_or(0) * base + digit;
    }
    return number;
}

// The number after " key=" in a line; the name at its end is not looked into.
std::optional<uint64_t> numberOf(std::string_view line, std::string_view key, uint32_t base = 10) {
    line = subtext(line, 0, line.find(" name="));
    const size_t place = line.find(key);
    if (place == std::string_view::npos) return std::nullopt;
    return numberAt(subtext(line, place + key.size()), base);
}

}  // namespace

uint32_t continueCrc32(uint32_t crc, const uint8_t* pos, const uint8_t* end) {
    crc = ~crc;
    for (; pos < end; ++pos) crc = kCrcTable[(crc ^ *pos) & 0xFF] ^ crc >> 8;
    return ~crc;
}

std::optional<YencBegin> readYencBegin(std::string_view line) {
    if (!line.starts_with("=ybegin ")) return std::nullopt;
    return YencBegin{numberOf(line, " line=").value_or(0), numberOf(line, " size=").value_or(0),
                     numberOf(line, " part=").has_value()};
}

std::optional<uint64_t> readYencPart(std::string_view line) {
    if (!line.starts_with("=ypart ")) return std::nullopt;
    const uint64_t begin = numberOf(line, " begin=").value_or(0);
    const uint64_t end = numberOf(line, " end=").value_or(0);
    if (begin == 0 || end < begin) return std::nullopt;
    return end - begin + 1;
}

YencEnd readYencEnd(std::string_view line, bool inParts) {
    return {numberOf(line, " size="), numberOf(line, inParts ? " pcrc32=" : " crc32=", 16)};
}

void YencDecoder::takeKeyword(const LinePiece& line) {
    if (state_ == State::kBefore) {
        const std::optional<YencBegin> begin = readYencBegin(line.text);
        if (!begin.has_value()) return;
        state_ = State::kData;
        begin_ = *begin;
        if (begin_.size != 0 && !begin_.inParts) expected_ = begin_.size;
    } else if (state_ == State::kAfter) {
        noteStray(line);
    } else if (const std::optional<uint64_t> size = readYencPart(line.text); size.has_value()) {
        expected_ = size;
    } else if (isYencEnd(line.text)) {
        const YencEnd end = readYencEnd(line.text, begin_.inParts);
        checkSize(expected_, line.place);
        checkSize(end.size, line.place);
        if (end.crc.has_value() && *end.crc != crc_) problems_.yencDamaged.note(line.place);
        state_ = State::kAfter;
    } else {
        problems_.yencDamaged.note(line.place);
    }
}

// After "=yend" nothing is decoded; text before "=ybegin" is no part of the file.
void YencDecoder::noteStray(const LinePiece& line) {
    if (state_ == State::kAfter && line.first && !line.text.empty()) problems_.yencDamaged.note(line.place);
}

void YencDecoder::checkSize(std::optional<uint64_t> size, uint64_t place) {
    if (size.has_value() && *size != size_) problems_.yencDamaged.note(place);
}

// News doubles a dot at the start of a line. Whether it has can be seen from the length of the line, and in the last
// one from the size of the file.
bool YencDecoder::isDotStuffed(std::string_view line) const {
    if (!line.starts_with("..") || line.size() > kMaxLine || begin_.lineLength == 0) return false;
    uint64_t bytes = 0;
    bool escaped = false;
    for (const char c : line) {
        escaped = c == '=' && !escaped;
        if (!escaped) ++bytes;
    }
    const bool endsInEscape = line.size() >= 2 && line[line.size() - 2] == '=';
    if (line.size() > begin_.lineLength + (endsInEscape ? 1 : 0)) return true;
    return expected_.has_value() && size_ + bytes > *expected_;
}

}  // namespace eml
