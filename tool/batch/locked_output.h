// A file that one run at a time writes.
#pragma once

#include <string>

#include "standalone/unique_descriptor.h"

namespace emltool {

// Creates `path`, or with `resume` opens what is there, for reading and writing with the further `flags` of open(2). The
// lock ends with the descriptor. Throws Problem, also if another run has the file.
emlhost::UniqueDescriptor openLockedOutput(const std::string& path, bool resume, int flags);

}  // namespace emltool
