// What a reading does not give of a message, for a user who asked for that reading.
#pragma once

#include <optional>

#include "tool/message/message_file.h"
#include "tool/terminal/problem.h"
#include "tool/text/reading.h"

namespace emltool {

// How many of the parts that the MIME reader finds this reading gives in no form; nothing if it gives them all. Reads the
// message with every reader, and compares by SHA-256: without it, that this is not known. Throws Problem.
std::optional<Warning> leftOutWarning(MessageFile& file, Reading reading);

}  // namespace emltool
