// The words of a date: days, months, zones.
#pragma once

#include <cstdint>
#include <string_view>

namespace eml {

// 1 to 12 for the name of a month or at least its first three letters, whatever the case; else 0.
[[nodiscard]] int64_t monthOfWord(std::string_view word);

[[nodiscard]] bool isDayOfWeek(std::string_view word);

struct NamedZone {
    std::string_view name;
    int16_t minutes;  // east of UTC
    bool standard;    // RFC 5322 section 4.3 lists it
};

// NULL for a word that is no zone. Letters of the military zones are not among them.
[[nodiscard]] const NamedZone* findZone(std::string_view word);

}  // namespace eml
