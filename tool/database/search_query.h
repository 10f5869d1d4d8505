// What a person types to find messages.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace emltool {

// A condition on a row m of "messages", with its parameter in the place of "?".
struct SearchCondition {
    std::string sql;  // "m.time >= ?"
    std::variant<int64_t, std::string> value;
};

struct SearchQuery {
    std::string match;    // for the full-text index; empty if every text fits
    std::string exclude;  // the same for what must not be there, where `match` is empty
    std::vector<SearchCondition> conditions;
};

// Words, all of which must be there:
//
//     plan            in the subject, the names and addresses, the text or the names of attachments; without regard to
//                     case and accents
//     pla*            words that begin so
//     "plan for may"  these words in this order
//     -draft          not there
//     may OR june     one of them is enough
//     subject:plan from:ann to:"Ann Meier" body:plan filename:report
//     after:2024-03 before:2024-03-15     from that day on, and earlier than that day, in UTC
//     会議             the same where a script has no blanks between words: the characters wherever they are
//     has:attachment list:talk.example.org thread:0123456789abcdef id:b@example.org is:flagged
//
// Throws Problem for what is none of these.
SearchQuery parseSearch(std::string_view text);

// Seconds since 1970 of the first moment of "2024", "2024-03" or "2024-03-15"; nothing for anything else.
std::optional<int64_t> beginningOfDate(std::string_view text);

}  // namespace emltool
