// A message and its sub-files, and the messages embedded in it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "standalone/message.h"
#include "tool/message/header_facts.h"
#include "tool/message/listed_field.h"
#include "tool/message/message_file.h"
#include "tool/message/sub_file_path.h"
#include "tool/terminal/problem.h"
#include "tool/text/reading.h"
#include "tool/text/text_spans.h"

namespace emltool {

struct MessageTree;

// One header value of a message.
struct MetadataField {
    std::string name;                 // "From", "Sent", "To", "Cc", "Bcc", "Subject", "Priority"
    std::optional<std::string> text;  // UTF-8; nothing when the message has no such field
    std::optional<std::string> raw;   // the bytes, if some of them belong to no character
};

// What `extract` did with a sub-file.
enum class Outcome {
    kNone,     // not asked for
    kPlanned,  // would be written
    kWritten,
    kSkipped,  // its file exists and stays
    kFailed
};

struct SubFileEntry {
    SubFilePath path;
    bool isMessage = false;              // the message itself, number 0
    std::string name;                    // as a person reads it, UTF-8; not safe as a path
    std::string writtenName;             // as the message has it
    bool isNamed = true;                 // not so if the name was made up
    std::string safeName;                // attachments: the name for its file
    std::string type;                    // "image/png"; the MIME reading alone knows it, and the next three
    std::string disposition;             // "attachment"; empty if the message does not say
    std::string contentId;               // without angle brackets
    std::string section;                 // "1.2" (RFC 3501 section 6.4.5)
    int32_t parent = -1;                 // number of the sub-file that contains it
    std::optional<uint64_t> size;        // decoded; none if unknown
    std::optional<uint64_t> storedSize;  // in the message; none for what has no bytes of its own there
    std::string sha256;                  // of the decoded bytes, in hexadecimal; empty unless asked for
    bool isEmbeddedMessage = false;      // a message inside the message
    bool isInFile = true;                // not so if only its name is in the message
    bool isEncrypted = false;
    bool isTnef = false;                   // known once it was to be opened
    std::unique_ptr<MessageTree> message;  // what is inside an embedded message or a TNEF that was opened

    std::vector<Reading> readings;  // that offer these bytes, where all were asked
    Outcome outcome = Outcome::kNone;
    std::string filePath;
    std::optional<Problem> problem;
};

// A message; or what is in a TNEF: sub-files, those of the fields that it has, and its date.
struct MessageTree {
    bool isMessage = true;
    std::string name;          // empty when the message has none
    uint32_t charset = 0;      // EML_CHARSET_...; 0 if it is none of them
    std::string charsetLabel;  // as the message has it, in lower case; empty if it does not say
    bool encrypted = false;
    std::string protection;  // "encrypted (S/MIME)", "signed (OpenPGP), not verified"; empty without
    uint64_t bytes = 0;      // the whole message as it is stored
    std::string date;        // as dateText returns it; empty without a readable date
    std::vector<MetadataField> metadata;
    std::optional<HeaderFacts> facts;                 // nothing from a reader that does not read them
    std::optional<std::vector<ListedField>> headers;  // all fields, in order; nothing unless asked for
    std::vector<SubFileEntry> subFiles;
    std::string sha256;                              // of the message as it is stored; empty unless asked for
    std::optional<std::string> text;                 // what a person reads, UTF-8; nothing unless asked for
    std::optional<std::vector<TextSpan>> textSpans;  // of it; the MIME reading alone has them
    std::optional<std::string> markdown;             // html/markdown.h; nothing unless asked for
    std::optional<std::string> html;   // of its text, as sent but UTF-8; nothing unless asked for
    std::optional<std::string> parts;  // as partsJson() has them; nothing unless asked for
    std::string hiddenText;            // what is in its HTML, but not to be seen; with one of these
    std::vector<Warning> warnings;
};

// The content of one sub-file.
class SubFileContent {
  public:
    virtual ~SubFileContent() = default;

    // Writes it, decoded, into `output`. Check the output's error() too.
    virtual emlhost::Extraction extract(emlhost::Output& output) = 0;
};

// What is to be done with each attachment, in the order of the messages, while its message is open.
class AttachmentVisitor {
  public:
    virtual ~AttachmentVisitor() = default;

    virtual void visit(SubFileContent& content, SubFileEntry& entry) = 0;

    // Whether to open this one too, if it is an embedded message or a TNEF. Called after visit.
    virtual bool opens(const SubFileEntry& entry) const = 0;
};

// Reads the whole tree of `file`, as the MIME reader or the container reader has it. Throws Problem; the message
// filter has no sub-files, which is one.
MessageTree readTree(MessageFile& file, AttachmentVisitor& visitor, Reading reading);

// Counts the bytes that a sub-file decodes to; nothing if they are not in the message.
std::optional<uint64_t> decodedSize(SubFileContent& content);

}  // namespace emltool
