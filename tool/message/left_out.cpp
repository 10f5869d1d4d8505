#include "tool/message/left_out.h"

#include <algorithm>

#include "tool/message/comparison.h"
#include "tool/text/format.h"
#include "tool/text/sha256.h"

namespace emltool {

std::optional<Warning> leftOutWarning(MessageFile& file, Reading reading) {
    if (reading == Reading::kMime) return std::nullopt;
    if (const std::string lack = sha256Lack(); !lack.empty()) {
        return Warning{"left-out",
                       formatted("whether the {} reading leaves out parts is not known, this program "
                                 "was {}",
                                 readingName(reading), lack)};
    }
    const Comparison comparison = compareReadings(file);
    const std::vector<LeftOut>& leftOut = comparison.readings[static_cast<size_t>(reading)].leftOut;
    const auto count =
        std::count_if(leftOut.begin(), leftOut.end(), [](const LeftOut& each) { return !each.isOtherForm; });
    if (count == 0) return std::nullopt;
    return Warning{"left-out", formatted("the {} reading leaves out {} {}; see \"eml compare\"",
                                         readingName(reading), count, count == 1 ? "part" : "parts")};
}

}  // namespace emltool
