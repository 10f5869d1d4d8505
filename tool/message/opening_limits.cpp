#include "tool/message/opening_limits.h"

#include "tool/text/format.h"

namespace emltool {

bool OpeningLimits::mayOpen(const SubFilePath& path, uint64_t bytes, std::vector<Warning>& warnings) {
    if (path.size() > kMaxDepth) {
        warnings.push_back(
            {"too-deep", formatted("sub-file {}: not opened, more than {} messages inside each other",
                                   dotted(path), kMaxDepth)});
        return false;
    }
    if (bytes > budget_) {
        warnings.push_back({"overlapping-parts",
                            formatted("sub-file {}: not opened, its parts overlap too often", dotted(path))});
        return false;
    }
    budget_ -= bytes;
    return true;
}

}  // namespace emltool
