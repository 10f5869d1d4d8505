#include "mime/address_words.h"

#include "bytes/subtext.h"
#include "mime/lexical.h"

namespace eml {

namespace {

constexpr size_t kNone = std::string_view::npos;

bool isGap(const AddressToken& token) {
    return token.kind == AddressTokenKind::kGap || token.kind == AddressTokenKind::kComment;
}

// Separators and brackets that are left over.
bool isLoose(const AddressToken& token) {
    return token.kind == AddressTokenKind::kComma || token.kind == AddressTokenKind::kSemicolon ||
           token.kind == AddressTokenKind::kOpen || token.kind == AddressTokenKind::kClose;
}

}  // namespace

std::string_view findComment(std::string_view text, bool last) {
    std::string_view found;
    AddressLexer lexer(text);
    for (AddressToken token = lexer.next(); token.kind != AddressTokenKind::kEnd; token = lexer.next()) {
        if (token.kind != AddressTokenKind::kComment) continue;
        found = subtext(text, token.start, token.end - token.start);
        if (!last) break;
    }
    return found;
}

bool readQuotedMailbox(std::string_view entry, MailboxParts& parts) {
    entry = trimSpacing(entry);
    if (entry.size() < 2 || entry.front() != '"' || quotedEnd(entry, 0) != entry.size()) return false;
    const std::string_view inside = subtext(entry, 1, entry.size() - 2);
    const size_t at = inside.find('@');
    if (at == kNone) return false;
    const size_t open = inside.rfind('<', at);
    const bool brackets = open != kNone;
    // Without brackets it is one address, or text.
    if (!brackets && trimSpacing(inside).find(' ') != kNone) return false;
    const size_t start = brackets ? open + 1 : 0;
    const size_t close = brackets ? inside.find('>', at) : kNone;
    parts = {};
    parts.nameBefore = subtext(inside, 0, brackets ? open : 0);
    parts.address = subtext(inside, start, close == kNone ? kNone : close - start);
    if (close != kNone) parts.nameAfter = subtext(inside, close + 1);
    parts.hasAddress = true;
    return true;
}

WordWalk::WordWalk(std::string_view entry) : text_(entry), lexer_(entry), token_(lexer_.next()) {}

// Blanks may stand on both sides of an "@" and before a dot (RFC 5322 section 4.4), and after a dot of the domain.
bool WordWalk::belongsTo(const Unit& unit, const AddressToken& token, bool gap) {
    if (token.kind == AddressTokenKind::kAt || token.kind == AddressTokenKind::kDot) return true;
    return gap ? unit.glue : unit.joins;
}

void WordWalk::addToken(Unit& unit, bool gap) const {
    // "[mailto:a@b]" is an address, "[127.0.0.1]" a domain.
    const bool literal = token_.kind == AddressTokenKind::kLiteral;
    const bool wrapped =
        literal && subtext(text_, token_.start, token_.end - token_.start).find('@') != kNone;
    const bool at = token_.kind == AddressTokenKind::kAt;
    const bool dot = token_.kind == AddressTokenKind::kDot;
    const bool quoted = token_.kind == AddressTokenKind::kQuoted;
    const bool encoded = subtext(text_, token_.start, 2) == "=?";
    unit.end = token_.end;
    unit.at = unit.at || at || wrapped;
    unit.plain = unit.plain && !quoted && !encoded;
    unit.glue = at || (dot && (gap || unit.at));
    unit.joins = !quoted;
}

bool WordWalk::readUnit(Unit& unit) {
    while (isGap(token_) || isLoose(token_)) token_ = lexer_.next();
    if (token_.kind == AddressTokenKind::kEnd) return false;
    unit = {};
    unit.start = token_.start;
    unit.plain = true;
    addToken(unit, false);
    token_ = lexer_.next();
    for (;;) {
        const AddressLexer ahead = lexer_;
        const AddressToken first = token_;
        bool gap = false;
        while (isGap(token_)) {
            gap = true;
            token_ = lexer_.next();
        }
        const bool ends = token_.kind == AddressTokenKind::kEnd || isLoose(token_);
        if (ends || !belongsTo(unit, token_, gap)) {
            // The gap is read once more, for the next unit.
            lexer_ = ahead;
            token_ = first;
            return true;
        }
        addToken(unit, gap);
        token_ = lexer_.next();
    }
}

bool WordWalk::next(MailboxParts& parts) {
    Unit address = waiting_;
    bool hasAddress = hasWaiting_;
    size_t nameStart = hasWaiting_ ? waitingWords_ : kNone;
    size_t wordsStart = kNone;  // words that have no address yet
    size_t wordCount = 0;
    bool plain = true;
    hasWaiting_ = false;
    Unit unit{};
    while (readUnit(unit)) {
        if (!unit.at) {
            if (wordsStart == kNone) wordsStart = unit.start;
            ++wordCount;
            plain = plain && unit.plain;
            continue;
        }
        const size_t words = wordsStart == kNone ? unit.start : wordsStart;
        if (hasAddress) {
            waiting_ = unit;
            waitingWords_ = words;
            hasWaiting_ = true;
            break;
        }
        hasAddress = true;
        address = unit;
        nameStart = words;
        wordsStart = kNone;
    }
    const size_t end = hasWaiting_ ? waitingWords_ : text_.size();
    if (!hasAddress && wordCount == 0) return false;
    parts = {};
    parts.hasAddress = hasAddress || (wordCount == 1 && plain);
    if (hasAddress) {
        parts.nameBefore = subtext(text_, nameStart, address.start - nameStart);
        parts.nameAfter = subtext(text_, address.end, end - address.end);
        parts.address = subtext(text_, address.start, address.end - address.start);
        parts.around[0] = parts.nameAfter;
        parts.around[1] = subtext(text_, segment_, address.start - segment_);
    } else if (parts.hasAddress) {
        parts.address = subtext(text_, wordsStart, end - wordsStart);
        parts.around[0] = parts.address;
        parts.around[1] = subtext(text_, segment_, wordsStart - segment_);
    } else {
        parts.nameBefore = subtext(text_, segment_, end - segment_);
    }
    segment_ = end;
    return true;
}

}  // namespace eml
