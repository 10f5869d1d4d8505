// Message ids (RFC 5322 section 3.6.4), Content-IDs (RFC 2045 section 7).
#pragma once

#include <cstdint>
#include <string_view>

#include "mime/encoded_words.h"

namespace eml {

// Walks the ids of a field's value. An id is what stands between "<" and ">"; one without ">" ends at the next "<",
// or at a blank or comma after its "@". What is outside of brackets is passed over: phrases, comments, quoted
// strings. When all "<" are inside comments or quoted strings, these are read as any text. In a value without
// any "<" the ids are the words that have an "@", or else the one word that there is.
class MessageIdWalk {
  public:
    explicit MessageIdWalk(std::string_view value);

    // The next id as it stands in the value, never empty; appendMessageId cleans it. False at the end.
    [[nodiscard]] bool next(std::string_view& id);

  private:
    [[nodiscard]] bool nextInBrackets(std::string_view& id);
    [[nodiscard]] bool nextWord(std::string_view& id);

    // The place after the comment, the quoted string or the character at `at`.
    [[nodiscard]] size_t afterOpaque(size_t at);

    std::string_view rest_;
    bool brackets_;
    bool anyWord_ = false;     // words need no "@"
    bool noComments_ = false;  // "(" is text
    bool noQuotes_ = false;    // and so is a quote
};

// The first id of a value; false without one.
[[nodiscard]] bool firstMessageId(std::string_view value, std::string_view& id);

// Appends an id as UTF-8. Line ends and control characters are dropped, and blanks outside of quotes; comments too
// where a blank stands beside them. (Without one, "(" is text that a program uses in its ids.)
void appendMessageId(std::string_view id, const HeaderText& how, TextBuilder& out);

// Reads all ids of a value. Texts are appended to `texts`, each followed by a zero byte; a TextPlace for each to
// `list`, as bytes. A value without "<" that has encoded words is decoded first, into memory of its own.
void readMessageIds(std::string_view value, const HeaderText& how, EmlAllocator& allocator,
                    TextBuilder& texts, TextBuilder& list);

}  // namespace eml
