// What the MIME reader reports as a defect, in words: what was guessed, or left out.
#pragma once

#include <emlreader/mime.hpp>
#include <vector>

#include "tool/terminal/problem.h"

namespace emltool {

// A warning for each defect that means something, of the parts of `message`, in the order of the file. Defects of
// content are among them once the content was read. A code that several parts have is one warning.
std::vector<Warning> defectWarnings(const emlreader::mime::Message& message);

// A warning for each part of the message whose root is `root`, other than the root, whose content cannot be read
// because it is encrypted, or is not read because it is inside a signature. `opened`, in order, are left out.
std::vector<Warning> hiddenPartWarnings(const emlreader::mime::Message& message, uint32_t root,
                                        const std::vector<uint32_t>& opened = {});

}  // namespace emltool
