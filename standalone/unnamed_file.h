// A temporary file that no name leads to.
#ifndef EMLREADER_STANDALONE_UNNAMED_FILE_H
#define EMLREADER_STANDALONE_UNNAMED_FILE_H

#include <string>
#include <system_error>

#include "standalone/unique_descriptor.h"

namespace emlhost {

// Creates it in $TMPDIR, or /tmp; it vanishes with its last descriptor. On failure the descriptor is invalid and
// errno has the cause. Throws std::bad_alloc.
UniqueDescriptor createUnnamedFile();

// The folder for it.
std::string temporaryFolder();

// Copies all that `descriptor` delivers into such a file. Invalid on failure, with the cause in `error`; if the
// temporary file is what failed, isOfTemporaryFile(error) is true. Throws std::bad_alloc.
UniqueDescriptor spoolToUnnamedFile(int descriptor, std::error_code& error);

// Whether a temporary file could not be created or written, and not what was copied be read. Such an error compares
// equal to the same conditions as a system error.
bool isOfTemporaryFile(const std::error_code& error);

}  // namespace emlhost

#endif
