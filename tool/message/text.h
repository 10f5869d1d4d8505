// The body of a message as a person reads it.
#pragma once

#include <optional>
#include <vector>

#include "tool/message/message_file.h"
#include "tool/message/mime_text.h"
#include "tool/terminal/problem.h"
#include "tool/text/reading.h"

namespace emltool {

// The lines that `eml show --body-only` prints, before it makes them visible. Nothing if the message is encrypted. The
// container reading has the text of the filter. Throws Problem.
std::optional<BodyText> bodyText(MessageFile& file, Reading reading, LinkStyle links = LinkStyle::kFootnotes);

// The HTML of it, see readHtmlSource. Nothing if the message is encrypted. Throws Problem.
std::optional<std::string> bodyHtml(MessageFile& file);

}  // namespace emltool
