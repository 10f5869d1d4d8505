// How many of the messages inside a message are opened.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tool/message/sub_file_path.h"
#include "tool/terminal/problem.h"

namespace emltool {

// Embedded messages and TNEF are opened to this depth.
inline constexpr size_t kMaxDepth = 32;

// Messages that lie inside each other are never larger than what is around them. Boundaries can be made to let
// parts overlap, though, and then the work would grow with every level. So all that is opened may have as many
// bytes together as ordinary messages have at the greatest depth.
class OpeningLimits {
  public:
    explicit OpeningLimits(uint64_t messageSize) : budget_(messageSize * kMaxDepth) {}

    // Whether the sub-file at `path`, which has so many bytes, may be opened. If so they are counted; if not a
    // warning says why.
    bool mayOpen(const SubFilePath& path, uint64_t bytes, std::vector<Warning>& warnings);

  private:
    uint64_t budget_;
};

}  // namespace emltool
