// A message as a person reads it: the fields that matter, and the text.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tool/message/message_file.h"
#include "tool/message/mime_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/text_spans.h"

namespace emltool {

struct ShownMessage {
    std::vector<std::pair<std::string, std::string>> fields;  // "From" and its value, UTF-8, not safe to show
    std::string text;             // each line with its LF; empty if the message is encrypted
    std::vector<TextSpan> spans;  // of the text; the MIME reader alone has them, and no source
    bool isFromHtml = false;      // the text is that of HTML
    bool encrypted = false;
    std::string protection;  // "encrypted (S/MIME)"; empty without
    std::vector<Warning> warnings;
};

// As the MIME reader has it. Throws Problem.
ShownMessage shownByMime(MessageFile& file, const TextForm& form);

// As the container reader has it: its metadata, the names of its sub-files, and what it renders.
ShownMessage shownByContainer(MessageFile& file, const TextForm& form);

}  // namespace emltool
