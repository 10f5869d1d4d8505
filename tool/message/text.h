// The body of a message as a person reads it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/message/message_file.h"
#include "tool/message/mime_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/reading.h"

namespace emltool {

// The lines that `eml show --body-only` prints, each with its line end, before it makes them visible; UTF-8.
// Nothing if the message is encrypted. The container reading has the text of the filter. Throws Problem.
std::optional<std::string> bodyText(MessageFile& file, Reading reading, std::vector<Warning>& warnings);

// The same as the MIME reader has it, before its warnings are told.
std::optional<BodyText> mimeBody(MessageFile& file);

}  // namespace emltool
