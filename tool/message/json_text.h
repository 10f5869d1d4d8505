// Answers for programs, one line of JSON each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

// The line for the message `source`, with its line end. `index` says which message of that file it is, if
// there are several. `tree` is NULL if it could not be read, as `problem` then explains. Fields are only ever
// added.
std::string jsonLine(const AnswerForm& form, std::string_view source, const MessageTree* tree,
                     const Problem* problem, std::optional<uint64_t> index = std::nullopt);

// Replaces characters that JSON allows but that could control a terminal with escapes. They occur in strings
// only.
std::string withVisibleControls(std::string_view json);

}  // namespace emltool
