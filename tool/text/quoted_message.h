// Where a whole message begins that a mail program has put below the text of its user, without a mark on each line:
// "-----Original Message-----", or the main fields of that message.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace emltool {

// Whether `line` stands between a text and a message that it answers or forwards, in the languages that mail programs
// commonly write.
bool beginsQuotedMessage(std::string_view line);

// Whether `line` says that such a message ends here.
bool endsQuotedMessage(std::string_view line);

// The main fields of a message as mail programs put them above its text, or its whole header.
struct QuotedHeader {
    size_t lines = 0;  // that are fields; where they are not of a message, none of them begins such fields
    bool isOfMessage =
        false;  // From, Subject, Date and To, with an address; or three of them below underscores
    bool isByProgram = false;  // a person would hardly write them so
};

// What the first of `lines` are, in any of these languages.
QuotedHeader quotedHeader(std::span<const std::string_view> lines);

}  // namespace emltool
