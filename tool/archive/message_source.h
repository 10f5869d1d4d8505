// A message that a command reads: a file, or a place in an mbox.
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

struct MessageSource {
    std::string path;               // "-" is standard input
    std::optional<uint64_t> index;  // in the mbox, from 0 on; nothing for a whole file
    uint64_t offset = 0;            // of that message in the file, after its "From " line
    uint64_t length = 0;
    bool hasNumber = false;    // the name ends with its number: the mbox has others, or the user gave it
    bool isOneOfMany = false;  // it comes from an mbox, or a folder, that was named as a whole
    SharedFile file;           // what is open already; otherwise the path is opened

    // The path, with the number for people, from 1 on: "box.mbox#17". Words for standard input.
    std::string name() const;
};

// The message. Throws Problem.
std::unique_ptr<emlhost::Input> openSource(const MessageSource& source);

// What went wrong when a file was opened or read. Its code for a folder is "is-a-directory". A full folder for
// temporary files is a problem of that folder.
Problem inputProblem(const std::string& path, const std::error_code& error, const std::string& hint = "");

}  // namespace emltool
