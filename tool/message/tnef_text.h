// The text of a message that is inside its TNEF (winmail.dat).
#pragma once

#include <cstdint>
#include <emlreader/mime.hpp>
#include <string>
#include <vector>

#include "tool/html/document_text.h"
#include "tool/terminal/problem.h"

namespace emltool {

// By type or name: looking at the first bytes of every attachment would decode them all.
bool maybeTnef(const emlreader::mime::Part& part);

// The text that the first TNEF of the message whose root is `root` has, as a person reads it, in UTF-8; HTML and RTF as
// their text. Empty if there is none, or if this program does not read TNEF. What cannot be read is a warning.
std::string tnefText(const emlreader::mime::Message& message, uint32_t root, std::vector<Warning>& warnings,
                     LinkStyle links);

}  // namespace emltool
