// The header of a message, as the MIME reader has it.
#pragma once

#include <emlreader/mime.hpp>
#include <string>
#include <vector>

#include "tool/message/header_facts.h"
#include "tool/message/tree.h"

namespace emltool {

// From, Sent, To, Cc, Bcc, Subject and Priority of the message whose root is `root`, decoded. Recipients in several
// fields of one name are one list.
std::vector<MetadataField> readMetadata(const emlreader::mime::Message& message, uint32_t root);

// The same, and what else the header says.
struct MessageHead {
    std::vector<MetadataField> fields;
    HeaderFacts facts;
    std::string subject;  // that of the fields; empty without one
};
MessageHead readHead(const emlreader::mime::Message& message, uint32_t root);

// The time of sending, "2025-03-04T09:15:22+01:00" (RFC 3339), by the clock of the sender; -00:00 is a zone that the
// message does not name. Empty without a date that can be read, or in a year that has no four digits.
std::string dateOf(const emlreader::mime::Part& root);

// True if only someone with a key can read the content. S/MIME that does not tell what it is counts as encrypted;
// text around an encrypted block can be read.
bool isEncryption(uint32_t protection);

}  // namespace emltool
