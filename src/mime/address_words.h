// An entry of an address list without angle brackets: addresses and words as they stand.
#pragma once

#include <string_view>

#include "mime/address_tokens.h"

namespace eml {

// What one mailbox is made of, as it stands in the value.
struct MailboxParts {
    std::string_view nameBefore;
    std::string_view nameAfter;
    std::string_view address;
    std::string_view around[2];  // where a comment is looked for when there is no name: after it, then before
    bool hasAddress;
};

// The first comment of `text`, or its last; empty without one.
[[nodiscard]] std::string_view findComment(std::string_view text, bool last);

// `"Joe <joe@x>"`: a whole mailbox in quotes. False for anything else.
[[nodiscard]] bool readQuotedMailbox(std::string_view entry, MailboxParts& parts);

// Takes an entry without brackets apart. An address is what has an "@". Words before it are its name, those after
// the last one too. A single word without "@" is an address, several are a name.
class WordWalk {
  public:
    explicit WordWalk(std::string_view entry);
    [[nodiscard]] bool next(MailboxParts& parts);

  private:
    // Words, "@" and dots that belong together.
    struct Unit {
        size_t start;
        size_t end;
        bool at;
        bool plain;  // no quoted string, no encoded word
        bool glue;   // takes what follows a gap
        bool joins;  // takes what stands directly after it
    };

    [[nodiscard]] bool readUnit(Unit& unit);
    [[nodiscard]] static bool belongsTo(const Unit& unit, const AddressToken& token, bool gap);
    void addToken(Unit& unit, bool gap) const;

    std::string_view text_;
    AddressLexer lexer_;
    AddressToken token_;       // the next one
    size_t segment_ = 0;       // where the text of the next mailbox begins
    Unit waiting_{};           // the address that was read ahead
    size_t waitingWords_ = 0;  // where its words begin
    bool hasWaiting_ = false;
};

}  // namespace eml
