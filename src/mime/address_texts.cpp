#include "mime/address_texts.h"

#include "bytes/subtext.h"
#include "mime/address_tokens.h"
#include "mime/header_fields.h"
#include "mime/lexical.h"
#include "mime/text_conversion.h"

namespace eml {

namespace {

constexpr size_t kNone = std::string_view::npos;

bool isHighByte(char character) { return static_cast<uint8_t>(character) >= 128; }

// Ends the text that was begun at `start`.
TextPlace endText(TextBuilder& texts, uint32_t start) {
    std::string_view text = texts.since(start);
    while (!text.empty() && isSpacing(text.back())) text.remove_suffix(1);
    const std::string_view kept = trimSpacing(text);
    const auto leading = static_cast<uint32_t>(text.size() - kept.size());
    texts.truncate(start + static_cast<uint32_t>(text.size()));
    if (kept.empty() || texts.failed()) return kAbsentText;
    texts.append(uint8_t{0});
    return {start + leading, static_cast<uint32_t>(kept.size())};
}

// Each backslash that makes the next character text is dropped: any, or only one before a special.
void appendUnescaped(std::string_view text, bool beforeSpecials, const HeaderText& how, TextBuilder& texts) {
    size_t start = 0;
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != '\\' || (beforeSpecials && !isAddressSpecial(text[i + 1]))) continue;
        appendDecoded(subtext(text, start, i - start), how, texts);
        start = ++i;
    }
    appendDecoded(subtext(text, start), how, texts);
}

void appendWithSingleBlanks(std::string_view text, TextBuilder& texts) {
    bool gap = false;
    for (const char character : text) {
        if (isSpacing(character)) {
            gap = true;
            continue;
        }
        if (gap) texts.append(uint8_t{' '});
        gap = false;
        texts.append(static_cast<uint8_t>(character));
    }
}

// Writes the words of a name as runs: what stands between quotes and comments.
class NameWriter {
  public:
    NameWriter(const HeaderText& how, TextBuilder& texts) : how_(how), texts_(texts) {}

    void add(std::string_view text) {
        AddressLexer lexer(text);
        size_t start = kNone;  // of the run
        size_t end = 0;
        bool bracket = false;
        for (AddressToken token = lexer.next(); token.kind != AddressTokenKind::kEnd; token = lexer.next()) {
            if (token.kind == AddressTokenKind::kGap) {
                gap_ = gap_ || start == kNone;
                continue;
            }
            const bool comment = token.kind == AddressTokenKind::kComment;
            if (comment || token.kind == AddressTokenKind::kQuoted) {
                if (start != kNone) writeRun(subtext(text, start, end - start));
                start = kNone;
                passOpaque(text, token);
                continue;
            }
            // Brackets and commas are text only between words.
            const bool close = token.kind == AddressTokenKind::kClose && bracket;
            const bool loose =
                !close && (token.kind == AddressTokenKind::kOpen || token.kind == AddressTokenKind::kClose ||
                           token.kind == AddressTokenKind::kComma);
            if (start == kNone && loose) continue;
            if (start == kNone) start = token.start;
            bracket = token.kind == AddressTokenKind::kOpen || (bracket && !close);
            if (!loose) end = token.end;
        }
        if (start != kNone) writeRun(subtext(text, start, end - start));
        gap_ = true;
    }

  private:
    void separate() {
        if (written_ && gap_) texts_.append(uint8_t{' '});
        written_ = true;
        gap_ = false;
    }

    // A comment or a quoted string after a run.
    void passOpaque(std::string_view text, const AddressToken& token) {
        const bool comment = token.kind == AddressTokenKind::kComment;
        const bool afterBlank = token.start > 0 && isSpacing(text[token.start - 1]);
        gap_ = gap_ || afterBlank || comment;
        if (!comment) writeQuoted(subtext(text, token.start + 1, token.end - token.start - 2));
    }

    void writeQuoted(std::string_view content) {
        if (content.empty()) return;
        separate();
        appendUnescaped(content, false, how_, texts_);
    }

    void writeRun(std::string_view run) {
        // A quote that opens or closes nothing.
        if (run.front() == '"') run.remove_prefix(1);
        const size_t last = run.find_last_not_of('"');
        if (last != kNone && isLetter(run[last])) run = subtext(run, 0, last + 1);
        if (run.empty()) return;
        separate();
        if (run.find('\\') != kNone) {
            appendUnescaped(run, true, how_, texts_);
        } else if (isAscii(run) && run.find("=?") == kNone) {
            appendWithSingleBlanks(run, texts_);
        } else {
            const uint32_t start = texts_.length();
            appendDecoded(run, how_, texts_);
            if (run.starts_with("=?") && run.ends_with("?=")) dropEncodedQuotes(start);
        }
    }

    // Quotes around a name that a program has encoded with it.
    void dropEncodedQuotes(uint32_t start) {
        const std::string_view text = texts_.since(start);
        if (text.size() < 3 || text.front() != '"' || text.find('"', 1) != text.size() - 1) return;
        texts_.truncate(texts_.length() - 1);
        texts_.erase(start, 1);
    }

    const HeaderText& how_;
    TextBuilder& texts_;
    bool written_ = false;
    bool gap_ = false;
};

bool startsWithNoCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && equalNoCase(subtext(text, 0, start.size()), start);
}

bool isEnclosed(std::string_view text, char open, char close) {
    return text.size() >= 3 && text.front() == open && text.back() == close;
}

// An address without one layer of what people put around it.
std::string_view unwrapped(std::string_view text) {
    text = trimSpacing(text);
    if (startsWithNoCase(text, "mailto:")) return subtext(text, 7);
    if (!text.empty() && text.front() == '<') return subtext(text, 1);
    if (!text.empty() && text.back() == '>') return subtext(text, 0, text.size() - 1);
    const std::string_view inside = text.size() >= 3 ? subtext(text, 1, text.size() - 2) : std::string_view{};
    if (isEnclosed(text, '\'', '\'') || (isEnclosed(text, '[', ']') && inside.find('@') != kNone))
        return inside;
    if (isEnclosed(text, '"', '"') && quotedEnd(text, 0) == text.size() && inside.find('@') != kNone)
        return inside;
    return text;
}

// What follows a route, "@a,@b:" (RFC 5322 section 4.4).
std::string_view withoutRoute(std::string_view text) {
    AddressLexer lexer(text);
    AddressToken token = lexer.next();
    while (token.kind == AddressTokenKind::kGap || token.kind == AddressTokenKind::kComment)
        token = lexer.next();
    if (token.kind != AddressTokenKind::kAt) return text;
    while (token.kind != AddressTokenKind::kColon && token.kind != AddressTokenKind::kEnd)
        token = lexer.next();
    const std::string_view rest = trimSpacing(subtext(text, token.end));
    return rest.empty() ? text : rest;
}

bool isAtomText(char character) {
    return isLetter(character) || isDigit(character) || isHighByte(character) ||
           std::string_view("!#$%&'*+-/=?^_`{|}~").find(character) != kNone;
}

// Whether the inside of a quoted string needs its quotes: it is no dot-atom.
bool needsQuotes(std::string_view text) {
    char before = '.';
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        if (text[i] == '.' ? before == '.' : !isAtomText(text[i])) return true;
        before = text[i];
    }
    return before == '.';
}

void appendBytes(std::string_view text, const HeaderText& how, TextBuilder& texts) {
    if (isAscii(text)) {
        texts.append(text);
    } else {
        appendGuessed(text, how.fallbackCharset, how.convert, texts);
    }
}

// A part of a local part that was quoted, with the quotes and escapes that it needs.
void appendQuotedPart(std::string_view content, const HeaderText& how, TextBuilder& texts) {
    const bool quotes = needsQuotes(content);
    if (quotes) texts.append(uint8_t{'"'});
    for (size_t i = 0; i < content.size(); ++i) {
        if (content[i] == '\\' && i + 1 < content.size()) ++i;
        size_t end = i + 1;
        if (isHighByte(content[i])) {
            while (end < content.size() && isHighByte(content[end])) ++end;
        } else if (isSpacing(content[i]) && content[i] != ' ' && content[i] != '\t') {
            continue;
        }
        if (content[i] == '"' || content[i] == '\\') texts.append(uint8_t{'\\'});
        appendBytes(subtext(content, i, end - i), how, texts);
        i = end - 1;
    }
    if (quotes) texts.append(uint8_t{'"'});
}

}  // namespace

TextPlace appendName(std::string_view before, std::string_view after, const HeaderText& how,
                     TextBuilder& texts) {
    const uint32_t start = texts.length();
    NameWriter writer(how, texts);
    writer.add(before);
    writer.add(after);
    return endText(texts, start);
}

TextPlace appendComment(std::string_view comment, const HeaderText& how, TextBuilder& texts) {
    if (comment.size() < 2) return kAbsentText;
    const uint32_t start = texts.length();
    appendUnescaped(subtext(comment, 1, comment.size() - 2), false, how, texts);
    return endText(texts, start);
}

TextPlace appendAddress(std::string_view address, const HeaderText& how, TextBuilder& texts) {
    // People wrap an address twice, not a thousand times.
    for (int layer = 0; layer < 4; ++layer) address = unwrapped(address);
    address = withoutRoute(address);
    const uint32_t start = texts.length();
    AddressLexer lexer(address);
    bool gap = false;
    bool afterText = false;
    for (AddressToken token = lexer.next(); token.kind != AddressTokenKind::kEnd; token = lexer.next()) {
        if (token.kind == AddressTokenKind::kGap || token.kind == AddressTokenKind::kComment) {
            gap = true;
            continue;
        }
        // Blanks between words that nothing joins are part of what was written.
        if (gap && afterText && token.isText()) texts.append(uint8_t{' '});
        gap = false;
        afterText = token.isText() || token.kind == AddressTokenKind::kComma;
        const std::string_view text = subtext(address, token.start, token.end - token.start);
        if (token.kind == AddressTokenKind::kQuoted) {
            appendQuotedPart(subtext(text, 1, text.size() - 2), how, texts);
        } else if (token.kind == AddressTokenKind::kLiteral) {
            for (const char character : text) {
                if (!isSpacing(character)) appendBytes({&character, 1}, how, texts);
            }
        } else {
            appendBytes(text, how, texts);
        }
    }
    const TextPlace place{start, texts.length() - start};
    texts.append(uint8_t{0});
    return place;
}

}  // namespace eml
