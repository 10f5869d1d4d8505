#include "mime/address_tokens.h"

#include "bytes/subtext.h"
#include "mime/encoded_words.h"
#include "mime/lexical.h"

namespace eml {

namespace {

constexpr size_t kNone = std::string_view::npos;

// An encoded word may have 75 characters; what is longer than this is text.
constexpr size_t kMaxEncodedWord = 1024;

AddressTokenKind kindOfSign(char character) {
    switch (character) {
        case '.':
            return AddressTokenKind::kDot;
        case '@':
            return AddressTokenKind::kAt;
        case ',':
            return AddressTokenKind::kComma;
        case ';':
            return AddressTokenKind::kSemicolon;
        case ':':
            return AddressTokenKind::kColon;
        case '<':
            return AddressTokenKind::kOpen;
        case '>':
            return AddressTokenKind::kClose;
        default:
            return AddressTokenKind::kEnd;
    }
}

// Whether it ends a word. A quote does not: one that opens a string stands at the beginning of a word.
bool endsWord(char character) {
    return isSpacing(character) || character == '(' || character == '[' ||
           kindOfSign(character) != AddressTokenKind::kEnd;
}

// The place after the "]" of a literal that begins at `at`; npos when there is none.
size_t literalEnd(std::string_view text, size_t at) {
    for (size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] == ']') return i + 1;
        if (text[i] == '\\') ++i;
        if (i < text.size() && std::string_view("[<>,;\"").find(text[i]) != kNone) return kNone;
    }
    return kNone;
}

}  // namespace

bool isAddressSpecial(char character) {
    return character == '"' || character == '\\' || character == '(' || character == ')' ||
           character == '[' || character == ']' || kindOfSign(character) != AddressTokenKind::kEnd;
}

AddressToken AddressLexer::token(AddressTokenKind kind, size_t end) {
    const AddressToken token{kind, pos_, end};
    pos_ = end;
    return token;
}

AddressToken AddressLexer::next() {
    if (pos_ == text_.size()) return token(AddressTokenKind::kEnd, pos_);
    const char first = text_[pos_];
    size_t end = pos_;
    if (isSpacing(first)) {
        while (end < text_.size() && isSpacing(text_[end])) ++end;
        return token(AddressTokenKind::kGap, end);
    }
    if (kindOfSign(first) != AddressTokenKind::kEnd) return token(kindOfSign(first), pos_ + 1);
    if (first == '"' && (end = quotedAt(pos_)) != kNone) return token(AddressTokenKind::kQuoted, end);
    if (first == '(' && (end = commentAt(pos_)) != kNone) return token(AddressTokenKind::kComment, end);
    if (first == '[' && (end = literalEnd(text_, pos_)) != kNone)
        return token(AddressTokenKind::kLiteral, end);
    if ((end = encodedWordEnd(pos_)) != kNone) return token(AddressTokenKind::kWord, end);
    return token(AddressTokenKind::kWord, wordEnd(pos_));
}

size_t AddressLexer::quotedAt(size_t at) {
    if (noQuotes_) return kNone;
    const size_t end = quotedEnd(text_, at);
    noQuotes_ = end == kNone;
    if (end == kNone || end == text_.size() || endsWord(text_[end])) return end;
    // `"Joe <joe@x>, "Ann" <ann@x>`: what would close the string opens the next one.
    const std::string_view content = subtext(text_, at + 1, end - at - 2);
    const bool opens = !content.empty() && (isSpacing(content.back()) || content.back() == ',');
    return opens && content.find('>') != kNone ? kNone : end;
}

size_t AddressLexer::commentAt(size_t at) {
    if (noComments_) return kNone;
    const size_t end = commentEnd(text_, at);
    noComments_ = end == kNone;
    return end;
}

size_t AddressLexer::encodedWordEnd(size_t at) {
    if (subtext(text_, at, 2) != "=?") return kNone;
    if (wordMark_ < at + 2) wordMark_ = text_.find("?=", at + 2);
    if (wordMark_ == kNone || wordMark_ - at > kMaxEncodedWord) return kNone;
    const std::optional<EncodedWord> word = encodedWordAt(subtext(text_, at, kMaxEncodedWord));
    return word ? at + word->length : kNone;
}

size_t AddressLexer::wordEnd(size_t at) {
    size_t end = at;
    do {
        const bool escape = text_[end] == '\\' && end + 1 < text_.size() && !isSpacing(text_[end + 1]);
        end += escape ? 2 : 1;
    } while (end < text_.size() && !endsWord(text_[end]) &&
             (text_[end] != '=' || encodedWordEnd(end) == kNone));
    return end;
}

}  // namespace eml
