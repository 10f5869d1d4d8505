#include "tool/text/significant_text.h"

#include <algorithm>

#include "tool/text/utf8.h"

namespace emltool {

namespace {

constexpr std::string_view kSpaces = " \t\r\n\f\v";

bool isSpace(char c) { return kSpaces.find(c) != std::string_view::npos; }

// Calls take(position) for each significant byte until it returns false.
template <typename Take>
void forEachSignificant(std::string_view text, Take take) {
    bool atLineStart = true;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n' || c == '\r') atLineStart = true;
        if (isSpace(c) || (atLineStart && c == '>')) continue;
        atLineStart = false;
        if (!take(i)) return;
    }
}

}  // namespace

std::string significantText(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    forEachSignificant(text, [&](size_t i) {
        kept += text[i];
        return true;
    });
    return kept;
}

std::string excerptAt(std::string_view text, size_t at, size_t length) {
    size_t begin = text.size();
    size_t count = 0;
    forEachSignificant(text, [&](size_t i) {
        begin = i;
        return count++ != at;
    });
    if (count <= at) return {};  // the text ends before
    // The difference may be inside a character.
    while (begin > 0 && (static_cast<unsigned char>(text[begin]) & 0xC0) == 0x80) --begin;
    std::string line;
    size_t characters = 0;
    for (size_t position = begin; position < text.size() && characters < length; ++characters) {
        const size_t start = position;
        nextCharacter(text, position);
        const bool space = isSpace(text[start]);
        if (!space) line.append(text, start, position - start);
        if (space && !line.ends_with(' ')) line += ' ';
    }
    while (line.ends_with(' ')) line.pop_back();
    return line;
}

size_t firstDifference(std::string_view one, std::string_view other) {
    return static_cast<size_t>(std::ranges::mismatch(one, other).in1 - one.begin());
}

}  // namespace emltool
