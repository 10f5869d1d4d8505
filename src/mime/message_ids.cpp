#include "mime/message_ids.h"

#include <algorithm>

#include "bytes/subtext.h"
#include "mime/lexical.h"
#include "mime/text_conversion.h"

namespace eml {

namespace {

constexpr size_t kNone = std::string_view::npos;

bool isBlankCharacter(char character) { return character == ' ' || character == '\t'; }

// What makes an id more than the text that it is.
bool needsCare(char character) { return isSpacing(character) || character == '"' || character == '('; }

bool endsWord(char character) {
    return isSpacing(character) || character == ',' || character == ';' || character == '<' ||
           character == '>';
}

// Where the id ends whose "<" stands before `start`: at the ">", which may be part of a quoted local part, or where
// the next "<" begins.
size_t idEnd(std::string_view text, size_t start) {
    size_t from = start;
    if (start < text.size() && text[start] == '"') {
        const size_t end = quotedEnd(text, start);
        if (end != kNone && end < text.size() && text[end] == '@') from = end;
    }
    while (from < text.size() && text[from] != '<' && text[from] != '>') ++from;
    return from;
}

// An id without ">": what stands before the first blank or comma after the "@", or all of it.
std::string_view unterminatedId(std::string_view id) {
    const size_t at = id.find('@');
    if (at == kNone) return trimSpacing(id);
    for (size_t i = at + 1; i < id.size(); ++i) {
        if (i > at + 1 && endsWord(id[i])) return trimSpacing(subtext(id, 0, i));
    }
    return trimSpacing(id);
}

// Whether a blank stands before `start` or at `end`.
bool standsBesideBlank(std::string_view text, size_t start, size_t end) {
    return (start > 0 && isSpacing(text[start - 1])) || (end < text.size() && isSpacing(text[end]));
}

// Appends all of `text` but spacing; blanks stay when it is a quoted string.
void appendDense(std::string_view text, bool keepBlanks, const HeaderText& how, TextBuilder& out) {
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        const bool kept =
            i < text.size() && (!isSpacing(text[i]) || (keepBlanks && isBlankCharacter(text[i])));
        if (kept) continue;
        if (i > start) appendGuessed(subtext(text, start, i - start), how.fallbackCharset, how.convert, out);
        start = i + 1;
    }
}

void addMessageId(std::string_view id, const HeaderText& how, TextBuilder& texts, TextBuilder& list) {
    TextPlace place{texts.length(), 0};
    appendMessageId(id, how, texts);
    place.length = texts.length() - place.start;
    if (place.length == 0 || texts.failed()) return;
    texts.append(uint8_t{0});
    list.append({reinterpret_cast<const char*>(&place), sizeof place});
}

void addMessageIds(std::string_view value, const HeaderText& how, TextBuilder& texts, TextBuilder& list) {
    MessageIdWalk walk(value);
    for (std::string_view id; walk.next(id);) addMessageId(id, how, texts, list);
}

}  // namespace

MessageIdWalk::MessageIdWalk(std::string_view value) : rest_(value), brackets_(value.find('<') != kNone) {
    if (brackets_) {
        // Is there one outside of comments and quoted strings?
        size_t i = 0;
        while (i < value.size() && value[i] != '<') i = afterOpaque(i);
        noComments_ = noQuotes_ = i >= value.size();
    } else if (value.find('@') == kNone) {
        std::string_view word;
        anyWord_ = nextWord(word) && !nextWord(word);
        rest_ = value;
        noComments_ = noQuotes_ = false;
    }
}

size_t MessageIdWalk::afterOpaque(size_t at) {
    const char character = rest_[at];
    const bool comment = character == '(' && !noComments_;
    const bool quoted = character == '"' && !noQuotes_;
    if (!comment && !quoted) return at + 1;
    const size_t end = comment ? commentEnd(rest_, at) : quotedEnd(rest_, at);
    if (end != kNone) return end;
    // It is text. So is every later one: each end is looked for once.
    (comment ? noComments_ : noQuotes_) = true;
    return at + 1;
}

bool MessageIdWalk::next(std::string_view& id) {
    if (brackets_) return nextInBrackets(id);
    while (nextWord(id)) {
        if (anyWord_ || id.find('@') != kNone) return true;
    }
    return false;
}

bool MessageIdWalk::nextInBrackets(std::string_view& id) {
    for (size_t i = 0; i < rest_.size();) {
        if (rest_[i] != '<') {
            i = afterOpaque(i);
            continue;
        }
        const size_t end = idEnd(rest_, i + 1);
        const bool closed = end < rest_.size() && rest_[end] == '>';
        const std::string_view text = subtext(rest_, i + 1, end - i - 1);
        id = closed ? trimSpacing(text) : unterminatedId(text);
        i = closed ? end + 1 : end;
        if (id.empty()) continue;
        rest_.remove_prefix(i);
        return true;
    }
    return false;
}

bool MessageIdWalk::nextWord(std::string_view& id) {
    size_t start = 0;
    while (start < rest_.size()) {
        const size_t after = rest_[start] == '(' ? afterOpaque(start) : start + 1;
        if (after == start + 1 && !endsWord(rest_[start])) break;
        start = after;
    }
    if (start == rest_.size()) return false;
    size_t end = afterOpaque(start);
    while (end < rest_.size() && !endsWord(rest_[end])) ++end;
    id = subtext(rest_, start, end - start);
    rest_.remove_prefix(end);
    return true;
}

bool firstMessageId(std::string_view value, std::string_view& id) {
    MessageIdWalk walk(value);
    return walk.next(id);
}

void appendMessageId(std::string_view id, const HeaderText& how, TextBuilder& out) {
    if (std::none_of(id.begin(), id.end(), needsCare)) {
        appendGuessed(id, how.fallbackCharset, how.convert, out);
        return;
    }
    bool noComments = false;
    bool noQuotes = false;
    size_t start = 0;
    for (size_t i = 0; i < id.size();) {
        const bool quoted = id[i] == '"' && !noQuotes;
        const bool comment = id[i] == '(' && !noComments;
        const size_t end = quoted ? quotedEnd(id, i) : comment ? commentEnd(id, i) : kNone;
        if (end == kNone) {
            noQuotes = noQuotes || quoted;
            noComments = noComments || comment;
            ++i;
            continue;
        }
        if (quoted || standsBesideBlank(id, i, end)) {
            appendDense(subtext(id, start, i - start), false, how, out);
            if (quoted) appendDense(subtext(id, i, end - i), true, how, out);
            start = end;
        }
        i = end;
    }
    appendDense(subtext(id, start), false, how, out);
}

void readMessageIds(std::string_view value, const HeaderText& how, EmlAllocator& allocator,
                    TextBuilder& texts, TextBuilder& list) {
    if (value.find('<') != kNone || !hasEncodedWord(value)) {
        addMessageIds(value, how, texts, list);
        return;
    }
    GrowingBuffer buffer{};
    TextBuilder decoded(allocator, buffer);
    appendDecoded(value, how, decoded);
    if (decoded.failed()) {
        texts.fail();
    } else {
        addMessageIds(decoded.since(0), how, texts, list);
    }
    buffer.release(allocator);
}

}  // namespace eml
