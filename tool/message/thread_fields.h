// Which messages a message names: itself and those that it answers.
#pragma once

#include <string>
#include <vector>

namespace emlreader::mime {
class Field;
}

namespace emltool {

// Ids are without angle brackets.
struct ThreadFields {
    std::string messageId;  // empty without one
    std::vector<std::string> inReplyTo;
    std::vector<std::string> references;  // the oldest first
};

// Takes the field in if it is "Message-ID", of which the first that has an id counts, "In-Reply-To" or "References".
void addThreadField(const emlreader::mime::Field& field, ThreadFields& fields);

// Leaves each id where it stands last: the last of all is what the message answers.
void dropRepeatedIds(std::vector<std::string>& ids);

}  // namespace emltool
