#include "mime/addresses.h"

#include "bytes/subtext.h"
#include "mime/address_tokens.h"
#include "mime/address_words.h"
#include "mime/header_fields.h"
#include "mime/lexical.h"

namespace eml {

namespace {

// The entry that is being read: what stands between two separators.
struct Entry {
    size_t start;
    size_t nameEnd;       // where the "<" of the address stands
    size_t addressStart;  // inside of the brackets
    size_t addressEnd;
    size_t closeEnd;    // after the ">"
    size_t mailboxEnd;  // after it, and the comments that follow
    bool hasBrackets;
    bool inside;       // of the brackets
    bool insideText;   // text after the "<"
    bool insideAt;     // an "@" there
    bool route;        // the brackets begin with "@", and no ":" has come yet
    bool text;         // before the brackets
    bool textAfter;    // after them
    bool at;           // an "@" outside of brackets
    bool notOnlyText;  // anything but words and dots
};

class ListReader {
  public:
    ListReader(std::string_view value, const HeaderText& how, TextBuilder& texts, TextBuilder& list)
        : value_(value), how_(how), texts_(texts), list_(list) {}

    void read() {
        AddressLexer lexer(value_);
        for (AddressToken token = lexer.next(); token.kind != AddressTokenKind::kEnd; token = lexer.next()) {
            entry_.inside ? takeInside(token) : takeOutside(token);
        }
        if (entry_.inside) closeBrackets(value_.size(), value_.size());
        endEntry(value_.size(), value_.size(), false);
        endGroup();
        // A value that is nothing but a comment: its text is all there is.
        if (list_.length() == listStart_ && !comment_.empty()) {
            const TextPlace name = appendComment(comment_, how_, texts_);
            if (name.start != kAbsent) record({name, kAbsentText, kAbsentText});
        }
    }

  private:
    [[nodiscard]] std::string_view slice(size_t start, size_t end) const {
        return subtext(value_, start, end - start);
    }

    void record(const AddressPlaces& places) {
        if (texts_.failed()) return;
        list_.append({reinterpret_cast<const char*>(&places), sizeof places});
        groupHasMember_ = true;
    }

    void startEntry(size_t start) {
        entry_ = {};
        entry_.start = start;
    }

    void takeOutside(const AddressToken& token) {
        switch (token.kind) {
            case AddressTokenKind::kGap:
            case AddressTokenKind::kClose:
                return;
            case AddressTokenKind::kComment:
                if (comment_.empty()) comment_ = slice(token.start, token.end);
                if (entry_.hasBrackets && !entry_.textAfter) entry_.mailboxEnd = token.end;
                entry_.notOnlyText = true;
                return;
            case AddressTokenKind::kComma:
                endEntry(token.start, token.end, true);
                return;
            case AddressTokenKind::kSemicolon:
                endEntry(token.start, token.end, false);
                endGroup();
                return;
            case AddressTokenKind::kOpen:
                openBrackets(token);
                return;
            case AddressTokenKind::kColon:
                if (opensGroup(token)) {
                    startGroup(token);
                    return;
                }
                break;
            default:
                break;
        }
        if (entry_.hasBrackets) {
            entry_.textAfter = true;
        } else {
            entry_.text = true;
        }
        if (token.kind == AddressTokenKind::kAt) entry_.at = true;
        if (token.kind != AddressTokenKind::kWord && token.kind != AddressTokenKind::kDot)
            entry_.notOnlyText = true;
    }

    // In brackets that do not end, a separator after an address ends them, and so does the next "<".
    void takeInside(const AddressToken& token) {
        switch (token.kind) {
            case AddressTokenKind::kGap:
            case AddressTokenKind::kComment:
                return;
            case AddressTokenKind::kClose:
                closeBrackets(token.start, token.end);
                return;
            case AddressTokenKind::kComma:
            case AddressTokenKind::kSemicolon:
                if (!entry_.insideAt || (entry_.route && token.kind == AddressTokenKind::kComma)) break;
                closeBrackets(token.start, token.start);
                takeOutside(token);
                return;
            case AddressTokenKind::kOpen:
                openInside(token);
                return;
            case AddressTokenKind::kAt:
                if (!entry_.insideText) entry_.route = true;
                entry_.insideAt = true;
                break;
            case AddressTokenKind::kColon:
                entry_.route = false;
                break;
            default:
                break;
        }
        entry_.insideText = true;
    }

    // "<<a@b>>", "<Joe <a@b>>", "Joe <a@b <c@d>".
    void openInside(const AddressToken& token) {
        if (entry_.insideAt) {
            closeBrackets(token.start, token.start);
            openBrackets(token);
            return;
        }
        if (entry_.insideText) {
            entry_.nameEnd = token.start;
            entry_.text = true;
        }
        entry_.addressStart = token.end;
        entry_.insideText = false;
        entry_.notOnlyText = true;
    }

    void closeBrackets(size_t end, size_t after) {
        entry_.inside = false;
        entry_.addressEnd = end;
        entry_.closeEnd = after;
        entry_.mailboxEnd = after;
    }

    void openBrackets(const AddressToken& token) {
        if (entry_.hasBrackets && (entry_.insideAt || !entry_.text)) {
            // A second mailbox without a comma before it: text between the two is its name.
            const bool text = entry_.textAfter;
            const size_t end = entry_.mailboxEnd;
            endEntry(end, end, false);
            entry_.text = text;
        }
        entry_.hasBrackets = true;
        entry_.inside = true;
        entry_.nameEnd = token.start;
        entry_.addressStart = token.end;
        entry_.insideText = false;
        entry_.insideAt = false;
        entry_.route = false;
        entry_.textAfter = false;
    }

    [[nodiscard]] bool opensGroup(const AddressToken& token) const {
        if (!entry_.text || entry_.at || entry_.hasBrackets || subtext(value_, token.end, 2) == "//")
            return false;
        const std::string_view name = trimSpacing(slice(entry_.start, token.start));
        return name.size() < 6 || !equalNoCase(subtext(name, name.size() - 6), "mailto");
    }

    void startGroup(const AddressToken& token) {
        flushPending();
        endGroup();
        group_ = appendName(slice(entry_.start, token.start), {}, how_, texts_);
        inGroup_ = true;
        groupHasMember_ = false;
        startEntry(token.end);
    }

    void endGroup() {
        if (inGroup_ && !groupHasMember_) record({kAbsentText, kAbsentText, group_});
        inGroup_ = false;
        group_ = kAbsentText;
    }

    // "Smith" of "Smith, John <john@x>": words that begin like a name. A list may hold the local name "root".
    [[nodiscard]] bool isPartOfName(size_t end) const {
        if (!entry_.text || entry_.notOnlyText || entry_.hasBrackets) return false;
        const std::string_view text = trimSpacing(slice(entry_.start, end));
        const char first = text.front();
        const bool capital = (first >= 'A' && first <= 'Z') || static_cast<uint8_t>(first) >= 128;
        return (capital || text.starts_with("=?")) && !equalNoCase(text, "MAILER-DAEMON");
    }

    // The entry ends at `end`, before a separator; the next one begins at `next`.
    void endEntry(size_t end, size_t next, bool comma) {
        if (comma && isPartOfName(end)) {
            if (!pending_) pendingStart_ = entry_.start;
            pending_ = true;
            pendingEnd_ = end;
        } else if (entry_.text || entry_.hasBrackets) {
            const bool named = entry_.hasBrackets && entry_.text && !entry_.at &&
                               trimSpacing(slice(entry_.start, entry_.nameEnd)).front() != '"';
            if (pending_ && named) {
                entry_.start = pendingStart_;
                pending_ = false;
            }
            flushPending();
            addEntry(end);
        } else if (!comma) {
            flushPending();
        }
        startEntry(next);
    }

    // Words that no mailbox followed are entries of their own.
    void flushPending() {
        if (!pending_) return;
        pending_ = false;
        const std::string_view words = slice(pendingStart_, pendingEnd_);
        AddressLexer lexer(words);
        size_t start = 0;
        AddressToken token{};
        do {
            token = lexer.next();
            const bool ends = token.kind == AddressTokenKind::kComma || token.kind == AddressTokenKind::kEnd;
            if (!ends) continue;
            addWords(subtext(words, start, token.start - start));
            start = token.end;
        } while (token.kind != AddressTokenKind::kEnd);
    }

    void addEntry(size_t end) {
        if (!entry_.hasBrackets) {
            addWords(slice(entry_.start, end));
            return;
        }
        MailboxParts parts{};
        parts.nameBefore = slice(entry_.start, entry_.nameEnd);
        parts.nameAfter = slice(entry_.closeEnd, end);
        parts.address = slice(entry_.addressStart, entry_.addressEnd);
        parts.around[0] = parts.nameAfter;
        parts.around[1] = parts.nameBefore;
        parts.hasAddress = true;
        addMailbox(parts);
    }

    void addWords(std::string_view text) {
        MailboxParts parts{};
        if (readQuotedMailbox(text, parts)) {
            addMailbox(parts);
            return;
        }
        for (WordWalk walk(text); walk.next(parts);) addMailbox(parts);
    }

    void addMailbox(const MailboxParts& parts) {
        AddressPlaces places{kAbsentText, kAbsentText, group_};
        places.name = appendName(parts.nameBefore, parts.nameAfter, how_, texts_);
        for (int i = 0; i < 2 && places.name.start == kAbsent; ++i)
            places.name = appendComment(findComment(parts.around[i], i == 1), how_, texts_);
        if (parts.hasAddress) places.address = appendAddress(parts.address, how_, texts_);
        if (parts.hasAddress || places.name.start != kAbsent) record(places);
    }

    std::string_view value_;
    const HeaderText& how_;
    TextBuilder& texts_;
    TextBuilder& list_;
    uint32_t listStart_ = list_.length();
    Entry entry_{};
    std::string_view comment_;  // the first one of the value outside of brackets
    TextPlace group_ = kAbsentText;
    bool inGroup_ = false;
    bool groupHasMember_ = false;
    bool pending_ = false;  // words that may belong to the name of the next mailbox
    size_t pendingStart_ = 0;
    size_t pendingEnd_ = 0;
};

}  // namespace

void readAddresses(std::string_view value, const HeaderText& how, TextBuilder& texts, TextBuilder& list) {
    ListReader(value, how, texts, list).read();
}

}  // namespace eml
