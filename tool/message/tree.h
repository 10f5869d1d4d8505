// A message and its sub-files, and the messages embedded in it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "standalone/message.h"
#include "tool/message/message_file.h"
#include "tool/message/sub_file_path.h"
#include "tool/terminal/console.h"
#include "tool/terminal/problem.h"

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
    emlhost::SubFile info;
    std::string name;                      // as a person reads it, UTF-8; not safe as a path
    std::string safeName;                  // attachments: the name for its file
    std::optional<uint64_t> size;          // decoded; none if unknown
    std::string sha256;                    // of the decoded bytes, in hexadecimal; empty unless asked for
    bool isTnef = false;                   // known once it was to be opened
    std::unique_ptr<MessageTree> message;  // what is inside an embedded message or a TNEF that was opened

    Outcome outcome = Outcome::kNone;
    std::string filePath;
    std::optional<Problem> problem;

    bool isEmbeddedMessage() const { return (info.flags & EML_SUB_FILE_MESSAGE) != 0; }
    bool isInFile() const { return (info.flags & EML_SUB_FILE_NOT_IN_FILE) == 0; }
};

// A message; or the files of a TNEF, which has only sub-files.
struct MessageTree {
    bool isMessage = true;
    std::string name;  // empty when the message has none
    uint32_t charset = 0;
    bool encrypted = false;
    uint64_t bytes = 0;  // the whole message as it is stored
    std::string date;    // as dateText returns it; empty without a readable date
    std::vector<MetadataField> metadata;
    std::vector<SubFileEntry> subFiles;
    std::string sha256;               // of the message as it is stored; empty unless asked for
    std::optional<std::string> text;  // what a person reads, UTF-8; nothing unless asked for
    std::vector<std::string> warnings;
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

// Reads the whole tree of `file`. Throws Problem.
MessageTree readTree(MessageFile& file, AttachmentVisitor& visitor);

// Counts the bytes that a sub-file decodes to; nothing if they are not in the message.
std::optional<uint64_t> decodedSize(SubFileContent& content);

}  // namespace emltool
