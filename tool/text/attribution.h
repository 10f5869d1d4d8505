// The line that says who wrote what is quoted below it: "On 4 March 2025, Anna wrote:".
#pragma once

#include <cstdint>
#include <string_view>

namespace emltool {

enum class AttributionForm : uint8_t {
    kNone,
    kVerbAlone,  // "Anna wrote:"
    kDated,      // with a date, a time or an address
    kComplete    // with a date, and a time or an address: hardly anything else looks like it
};

// More than this is no attribution.
inline constexpr size_t kLongestAttribution = 400;

// What `text`, lines joined by blanks, is, in the languages that mail programs commonly write.
AttributionForm attributionForm(std::string_view text);

// Whether `line` begins as attributions do: with "On", or with the same in another language, and a number soon.
bool opensAttribution(std::string_view line);

// The same with a whole date in the line.
bool opensWithDate(std::string_view line);

// Whether `line`, at the beginning of a paragraph, may be the first line of several: with a date, a time or an address,
// with a number soon, or short and with the word that a date follows.
bool mayBeginAttribution(std::string_view line);

// Whether `line` may be the last one of an attribution.
bool mayEndAttribution(std::string_view line);

}  // namespace emltool
