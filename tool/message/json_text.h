// Answers for programs, one line of JSON each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tool/archive/message_source.h"
#include "tool/message/tree.h"

namespace emltool {

// In what form a program wants the answers.
struct AnswerForm {
    int schema = 2;
    Reading reading = Reading::kMime;
    bool isUnion = false;  // of all readings
};

// "mime", "container", "filter".
const char* readerWord(Reading reading);

// Where the message of an answer is.
struct AnswerSource {
    std::string_view path;
    std::optional<uint64_t> index = std::nullopt;  // in the mbox or archive; nothing for a whole file
    bool hasPlace = false;                         // its bytes are in the file:
    uint64_t offset = 0;                           // here
    uint64_t length = 0;
    std::optional<std::string_view> member = std::nullopt;  // of the archive
};

AnswerSource answerSource(const MessageSource& source);

// The line for a message, with its line end. `tree` is NULL if it could not be read, as `problem` then explains. Fields
// are only ever added.
std::string jsonLine(const AnswerForm& form, const AnswerSource& source, const MessageTree* tree,
                     const Problem* problem);

// Replaces characters that JSON allows but that could control a terminal with escapes. They occur in strings
// only.
std::string withVisibleControls(std::string_view json);

}  // namespace emltool
