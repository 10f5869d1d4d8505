// A message that a command reads: a file, or a place in one, or a member of an archive.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "standalone/input.h"
#include "standalone/unique_descriptor.h"
#include "tool/terminal/problem.h"

namespace emltool {

// A regular file that is open for reading. All its readers name the places that they read.
using SharedFile = std::shared_ptr<const emlhost::UniqueDescriptor>;

// The bytes of a message as they are stored.
struct StoredRange {
    uint64_t offset = 0;
    uint64_t length = 0;
    bool isQuoted = false;  // one ">" is removed from each line where ">" and "From " follow
};

struct MessageSource {
    std::string path;                   // "-" is standard input
    std::optional<uint64_t> index;      // in the mbox or archive, from 0 on; nothing for a whole file
    std::optional<std::string> member;  // of the archive: its name, in whatever bytes
    bool hasPlace = false;              // the bytes of the message are in the file that the path names:
    uint64_t offset = 0;                // in an mbox, after its "From " line
    uint64_t length = 0;
    std::optional<StoredRange> stored;  // where they are read, unless it is a whole file
    bool hasNumber = false;    // the name ends with its number: the mbox has others, or the user gave it
    bool isOneOfMany = false;  // it comes from an mbox, or a folder, that was named as a whole
    SharedFile file;           // what they are read from; otherwise the path is opened

    // The path, with the number for people, from 1 on: "box.mbox#17". Words for standard input.
    std::string name() const;
};

// The bytes of the file `path` at that place. Throws Problem.
std::unique_ptr<emlhost::Input> openStored(const std::string& path, const StoredRange& range);

// The same in an open file; `name` is what problems call it.
std::unique_ptr<emlhost::Input> openStored(const std::string& name, const emlhost::UniqueDescriptor& file,
                                           const StoredRange& range);

// The message. Throws Problem.
std::unique_ptr<emlhost::Input> openSource(const MessageSource& source);

// What went wrong when a file was opened or read. Its code for a folder is "is-a-directory". A full folder for
// temporary files is a problem of that folder.
Problem inputProblem(const std::string& path, const std::error_code& error, const std::string& hint = "");

}  // namespace emltool
