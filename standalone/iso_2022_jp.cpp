#include "standalone/iso_2022_jp.h"

#include <array>

namespace emlhost {

namespace {

constexpr char kInvalid = '\xFF';

using Set = Iso2022JpReader::Set;

struct Escape {
    std::string_view bytes;
    Set set;
};

// JIS X 0201 Roman is read as ASCII: they differ in two characters, and mail means the ASCII ones.
constexpr std::array<Escape, 7> kEscapes = {{
    {"\x1B(B", Set::kAscii},
    {"\x1B(J", Set::kAscii},
    {"\x1B(I", Set::kKana},
    {"\x1B$@", Set::kKanji},
    {"\x1B$B", Set::kKanji},
    {"\x1B$(B", Set::kKanji},
    {"\x1B$(D", Set::kSupplementaryKanji},
}};

const Escape* escapeAt(std::string_view rest) {
    for (const Escape& escape : kEscapes) {
        if (rest.starts_with(escape.bytes)) return &escape;
    }
    return nullptr;
}

bool isGraphic(char byte) { return byte > 0x20 && byte < 0x7F; }

// Whether `rest` may be the beginning of an escape sequence, or of a pair, that goes on in the next piece.
bool isCutOff(Set set, std::string_view rest) {
    for (const Escape& escape : kEscapes) {
        if (rest.size() < escape.bytes.size() && escape.bytes.starts_with(rest)) return true;
    }
    const bool isPair = set == Set::kKanji || set == Set::kSupplementaryKanji;
    return isPair && rest.size() == 1 && isGraphic(rest.front());
}

char withHighBit(char byte) { return static_cast<char>(static_cast<unsigned char>(byte) | 0x80u); }

// Appends the character at the start of `rest` and returns its length. `rest` is not empty.
size_t appendCharacter(std::string& euc, Set set, std::string_view rest) {
    char first = rest.front();
    bool inRange = set == Set::kKana ? first > 0x20 && first < 0x60 : isGraphic(first);
    if (set == Set::kAscii || !isGraphic(first)) {
        bool isAscii = static_cast<unsigned char>(first) < 0x80 && first != '\x1B';
        euc += isAscii ? first : kInvalid;
        return 1;
    }
    bool isPair = set != Set::kKana;
    if (!inRange || (isPair && (rest.size() < 2 || !isGraphic(rest[1])))) {
        euc += kInvalid;
        return 1;
    }
    if (set == Set::kKana) euc += '\x8E';
    if (set == Set::kSupplementaryKanji) euc += '\x8F';
    euc += withHighBit(first);
    if (isPair) euc += withHighBit(rest[1]);
    return isPair ? 2 : 1;
}

}  // namespace

size_t Iso2022JpReader::read(std::string_view text, bool last, std::string& euc) {
    std::string_view rest = text;
    while (!rest.empty() && (last || !isCutOff(set_, rest))) {
        if (const Escape* escape = escapeAt(rest)) {
            set_ = escape->set;
            rest.remove_prefix(escape->bytes.size());
            continue;
        }
        if (rest.front() == '\n') set_ = Set::kAscii;  // each line starts in ASCII, also after a damaged one
        rest.remove_prefix(appendCharacter(euc, set_, rest));
    }
    return text.size() - rest.size();
}

std::string eucFromIso2022Jp(std::string_view text) {
    std::string euc;
    euc.reserve(text.size());
    Iso2022JpReader().read(text, true, euc);
    return euc;
}

}  // namespace emlhost
