#include "mime/date_tokens.h"

#include "bytes/subtext.h"
#include "mime/lexical.h"

namespace eml {

namespace {

// Blanks of other scripts are written with bytes above 127; none of these belongs to a date.
bool isGap(char character) { return isSpacing(character) || static_cast<uint8_t>(character) >= 128; }

// Reads the token at `at`, which is none of a gap; gives the place after it.
size_t readToken(std::string_view value, size_t at, DateToken& token) {
    size_t end = at;
    if (isDigit(value[at])) {
        token.kind = DateTokenKind::kNumber;
        for (; end < value.size() && isDigit(value[end]); ++end) {
            if (token.number < kNumberLimit) token.number = token.number * 10 + (value[end] - '0');
        }
        if (token.number > kNumberLimit) token.number = kNumberLimit;
        token.digits = end - at < 1000 ? static_cast<uint32_t>(end - at) : 1000;
        return end;
    }
    if (isLetter(value[at])) {
        token.kind = DateTokenKind::kWord;
        while (end < value.size() && isLetter(value[end])) ++end;
        token.word = subtext(value, at, end - at);
        return end;
    }
    token.kind = DateTokenKind::kSign;
    token.sign = value[at];
    return at + 1;
}

}  // namespace

void readDateTokens(std::string_view value, DateTokens& tokens) {
    tokens.count = 0;
    bool gap = false;
    for (size_t i = 0; i < value.size() && tokens.count < kMaxDateTokens;) {
        if (isGap(value[i])) {
            gap = true;
            ++i;
            continue;
        }
        if (value[i] == '(') {
            // A comment that does not end holds the rest.
            i = commentEnd(value, i);
            if (i == std::string_view::npos) break;
            gap = true;
            continue;
        }
        DateToken& token = tokens.tokens[tokens.count++];
        token = {};
        token.gapBefore = gap;
        gap = false;
        i = readToken(value, i, token);
    }
    tokens.tokens[tokens.count] = {};
}

}  // namespace eml
