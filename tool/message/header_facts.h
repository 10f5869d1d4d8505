// What the header of a message says, for programs: parsed, not as text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/message/thread_fields.h"
#include "tool/text/trace_field.h"

namespace emlreader::mime {
class Field;
}

namespace emltool {

struct MailAddress {
    std::string field;    // its name in lower case: "from", "resent-to"
    std::string name;     // UTF-8; empty without one
    std::string address;  // empty in an empty group
    std::string group;    // that it is a member of
};

struct HeaderFacts {
    ThreadFields thread;
    std::string listId;   // of a mailing list (RFC 2919), without angle brackets; empty without one
    std::string date;     // of sending, as dateText returns it; empty without a date that can be read
    std::string dateUtc;  // the same as utcDateText returns it
    std::vector<MailAddress> addresses;  // in the order of the fields
    std::vector<TraceField>
        received;  // as they stand there, so the last server comes first; dates as dateText has them
};

// Takes the field in.
void addHeaderFact(const emlreader::mime::Field& field, HeaderFacts& facts);

// To be called once, after the last field.
void finishHeaderFacts(HeaderFacts& facts);

}  // namespace emltool
