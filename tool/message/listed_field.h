// A field of a header, for people and programs.
#pragma once

#include <cstdint>
#include <string>

namespace emltool {

struct ListedField {
    std::string name;  // as written: "SUBJECT"
    std::string
        text;  // UTF-8: addresses and dates in one form each, anything else unfolded, its words decoded
    std::string raw;      // the bytes after the colon, folding included
    uint64_t offset = 0;  // of the whole field in the file
    uint64_t length = 0;
};

}  // namespace emltool
