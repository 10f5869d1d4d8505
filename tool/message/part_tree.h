// The parts of a message as the MIME reader finds them, with what a person asks about each.
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <string>
#include <vector>

namespace emltool {

struct PartEntry {
    emlreader::mime::Part part;  // valid while its message is open
    std::string section;         // see sectionNumbers
    std::string name;            // of the file, UTF-8, possibly made up; not safe as a path
    uint64_t size;               // of the content, decoded
    std::vector<emlreader::mime::Defect> defects;
    std::string sha256 = {};  // of that content; empty unless asked for

    bool isContainer() const { return part.isMultipart() || part.isMessage(); }
};

// All parts in the order of the file. Reads the content of each, as bytes and where it is text as text, so that all
// defects are found. `digests`: also of the content of each part that holds no others.
std::vector<PartEntry> readParts(const emlreader::mime::Message& message, bool digests = false);

// The numbers of all parts as IMAP has them (RFC 9051 section 6.4.5.1): "1.2" is the second part of the first. The body
// of a message that is no multipart is 1; of one that is part 2, 2.1. A message that is a multipart has none: empty.
// Files inside text, which IMAP does not know, count like the parts of a multipart.
std::vector<std::string> sectionNumbers(const emlreader::mime::Message& message);

}  // namespace emltool
