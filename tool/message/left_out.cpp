#include "tool/message/left_out.h"

#include <algorithm>

#include "tool/message/comparison.h"
#include "tool/text/format.h"

namespace emltool {

std::optional<Warning> leftOutWarning(MessageFile& file, Reading reading) {
    if (reading == Reading::kMime) return std::nullopt;
    const Comparison comparison = compareReadings(file);
    const std::vector<LeftOut>& leftOut = comparison.readings[static_cast<size_t>(reading)].leftOut;
    const auto count =
        std::count_if(leftOut.begin(), leftOut.end(), [](const LeftOut& each) { return !each.isOtherForm; });
    if (count == 0) return std::nullopt;
    return Warning{"left-out", formatted("the {} reading leaves out {} {}; see \"eml compare\"",
                                         readingName(reading), count, count == 1 ? "part" : "parts")};
}

}  // namespace emltool
