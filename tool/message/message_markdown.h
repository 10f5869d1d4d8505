// A message as one Markdown text, as the MIME reader has it: for people, indexes and language models.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/message/message_file.h"
#include "tool/terminal/problem.h"

namespace emltool {

struct MarkdownForm {
    bool bodyOnly = false;         // without the front matter
    bool withAttachments = false;  // with the text of attachments that are text
};

// Front matter in YAML: subject, from, to, cc, date (RFC 3339), message-id, attachments with name, type and size. Its
// strings have neither "<" nor ">" nor "&", so that no reader of Markdown without front matter finds HTML in it. After
// that the body (html/markdown.h). UTF-8, the same for the same message everywhere.
struct MarkdownText {
    std::string text;
    std::string hidden;  // what is in its HTML, but not to be seen
    std::vector<Warning> warnings;
};

// Nothing if the message is encrypted. Throws Problem.
std::optional<MarkdownText> messageMarkdown(MessageFile& file, const MarkdownForm& form);

}  // namespace emltool
