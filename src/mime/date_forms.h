// The forms of a date, over its tokens.
#pragma once

#include "mime/date_tokens.h"

namespace eml {

struct DateParts {
    int64_t year;  // 0: not found; so are month and day
    int64_t month;
    int64_t day;
    int64_t hour;
    int64_t minute;
    int64_t second;
    int32_t zoneMinutes;
    bool hasTime;
    bool hasZone;
};

// The year that a number means: of two digits 1950 to 2049, of three from 1900 on (RFC 5322 section 4.3).
[[nodiscard]] int64_t fullYear(const DateToken& token);

// The form of RFC 5322 section 3.3 or 4.3, and nothing else. False leaves `parts` in any state.
[[nodiscard]] bool readStandardDate(const DateTokens& tokens, DateParts& parts);

// Whatever else can be taken for a date: `parts` holds what was found.
void readLooseDate(const DateTokens& tokens, DateParts& parts);

}  // namespace eml
