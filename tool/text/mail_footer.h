// What mailing lists and providers put below a text, and what phones put below it in the place of a signature.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace emltool {

// Where such an addition begins among the lines from `begin` on, the end of a text; lines.size() if there is none. With
// `afterRuleAlone` only one that a line of dashes or the like stands before.
size_t footerStart(std::span<const std::string_view> lines, size_t begin, bool afterRuleAlone);

// Whether `line` is "Sent from my phone", in the languages that phones commonly write.
bool isDeviceLine(std::string_view line);

}  // namespace emltool
