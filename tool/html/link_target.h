// Where a link of a message may lead.
#pragma once

#include <string>
#include <string_view>

namespace emltool {

// The target of a link that a person may follow, without blanks and control characters: the web, mail, a telephone
// number. Empty for all others: scripts, files, places within the message.
std::string linkTarget(std::string_view href);

// Whether `text` says itself where the link leads.
bool namesTarget(std::string_view text, std::string_view target);

}  // namespace emltool
