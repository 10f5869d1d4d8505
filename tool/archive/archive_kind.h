// Files that hold other files, or are compressed.
#pragma once

#include <cstddef>
#include <string_view>

namespace emltool {

// As many bytes of a file tell whether it is one.
constexpr size_t kArchiveBeginning = 512;

// Whether a file that begins with these bytes is an archive that can be opened (tar, zip), or is compressed (gzip,
// bzip2, xz, Zstandard). Documents and programs that are zips (.docx, .odt, .epub, .jar) are none.
bool beginsArchive(std::string_view beginning);

}  // namespace emltool
