#include "tool/text/mail_words.h"

#include <algorithm>

#include "tool/text/ascii.h"
#include "tool/text/utf8.h"
#include "tool/text/visible_text.h"

namespace emltool {

namespace {

// Blanks of any width.
bool isBlank(char32_t character) {
    return character == ' ' || (character >= '\t' && character <= '\r') || character == 0xA0 ||
           (character >= 0x2000 && character <= 0x200A) || character == 0x202F || character == 0x3000;
}

bool isInvisible(char32_t character) {
    return character == 0xAD || character == 0x200B || character == 0xFEFF || isDirectionOverride(character);
}

constexpr bool isIn(char32_t character, char32_t first, char32_t last) {
    return character >= first && character <= last;
}

// Letters of Latin, Greek and Cyrillic; in Latin Extended-A most capitals stand before their small letters.
char32_t lowerLetter(char32_t character) {
    if (character < 0x80) return static_cast<char32_t>(lower(static_cast<char>(character)));
    if (isIn(character, 0xC0, 0xDE) && character != 0xD7) return character + 0x20;
    if (character == 0x130) return 'i';
    const bool isEvenCapital = isIn(character, 0x100, 0x137) || isIn(character, 0x14A, 0x177);
    if (isEvenCapital && character % 2 == 0) return character + 1;
    const bool isOddCapital = isIn(character, 0x139, 0x148) || isIn(character, 0x179, 0x17E);
    if (isOddCapital && character % 2 == 1) return character + 1;
    if (isIn(character, 0x391, 0x3A9) || isIn(character, 0x410, 0x42F)) return character + 0x20;
    if (isIn(character, 0x400, 0x40F)) return character + 0x50;
    return character == 0xFF1A ? U':' : character;
}

}  // namespace

std::string comparable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    bool blankBefore = false;
    for (size_t position = 0; position < text.size();) {
        const size_t start = position;
        const bool isAscii = text[start] > ' ' && text[start] <= '~';
        const char32_t character =
            isAscii ? static_cast<char32_t>(text[position++]) : nextCharacter(text, position);
        if (!isAscii && isBlank(character)) {
            blankBefore = !result.empty();
            continue;
        }
        if (!isAscii && isInvisible(character)) continue;
        if (blankBefore) result += ' ';
        blankBefore = false;
        if (isAscii || character == kNoCharacter) {
            result += lower(text[start]);
        } else {
            appendUtf8(result, lowerLetter(character));
        }
    }
    return result;
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        const size_t end = std::min(text.find(' '), text.size());
        words.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

std::string_view bareWord(std::string_view word) {
    constexpr std::string_view kPunctuation = ".,:;!?()[]<>*\"'_-";
    const size_t begin = word.find_first_not_of(kPunctuation);
    if (begin == std::string_view::npos) return {};
    return word.substr(begin, word.find_last_not_of(kPunctuation) - begin + 1);
}

bool isListed(std::string_view list, std::string_view text) {
    bool found = false;
    forEachListed(list, [&](std::string_view entry) { found = found || text == entry; });
    return found;
}

bool beginsWithListed(std::string_view list, std::string_view text) {
    bool found = false;
    forEachListed(list, [&](std::string_view entry) { found = found || text.starts_with(entry); });
    return found;
}

bool containsListed(std::string_view list, std::string_view text) {
    bool found = false;
    forEachListed(
        list, [&](std::string_view entry) { found = found || text.find(entry) != std::string_view::npos; });
    return found;
}

bool isBlankLine(std::string_view line) {
    for (size_t position = 0; position < line.size();) {
        const char32_t character = nextCharacter(line, position);
        if (!isBlank(character) && !isInvisible(character)) return false;
    }
    return true;
}

}  // namespace emltool
