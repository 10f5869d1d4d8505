// A file that the user named for one document.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "standalone/file_output.h"

namespace emltool {

// An output that becomes the file `path` when it is kept. Throws Problem.
std::unique_ptr<emlhost::FileOutput> createDocument(const std::string& path, mode_t mode = 0644);

// Gives the document its name. A file that has it stays, unless it may be overwritten. Throws Problem.
void keepDocument(emlhost::FileOutput& output, const std::string& path, bool overwrite);

}  // namespace emltool
