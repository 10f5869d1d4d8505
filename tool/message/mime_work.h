// Work on a message with the MIME reader, its failures being problems of the file.
#pragma once

#include <emlreader/mime.hpp>
#include <functional>

#include "tool/message/message_file.h"

namespace emltool {

using MimeWork = std::function<void(const emlreader::mime::Message& message)>;

// Opens the message with the MIME reader and calls `work`. The input belongs to it until it returns. Throws Problem.
void withMime(MessageFile& file, const MimeWork& work);

}  // namespace emltool
