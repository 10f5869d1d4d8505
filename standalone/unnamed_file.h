// A temporary file that no name leads to.
#ifndef EMLREADER_STANDALONE_UNNAMED_FILE_H
#define EMLREADER_STANDALONE_UNNAMED_FILE_H

#include "standalone/unique_descriptor.h"

namespace emlhost {

// Creates it in $TMPDIR, or /tmp; it vanishes with its last descriptor. On failure the descriptor is invalid and
// errno has the cause. Throws std::bad_alloc.
UniqueDescriptor createUnnamedFile();

}  // namespace emlhost

#endif
