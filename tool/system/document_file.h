// A file that the user named for an output document.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "standalone/file_output.h"

namespace emltool {

// An output that keepDocument turns into the file `path`. Throws Problem.
std::unique_ptr<emlhost::FileOutput> createDocument(const std::string& path, mode_t mode = 0644);

// Gives the document its name. An existing file stays, unless it may be overwritten. Throws Problem.
void keepDocument(emlhost::FileOutput& output, const std::string& path, bool overwrite);

}  // namespace emltool
