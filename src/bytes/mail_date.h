// Dates in messages (RFC 5322 section 3.3): the pieces that the readers share. Each reader walks to them by
// itself.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

#include "bytes/cursor.h"

namespace eml {

struct MailDate {
    int32_t day;
    int32_t month;  // 1 to 12; 0 when the name is none
    int32_t year;
    int32_t hour;
    int32_t minute;
    int32_t second;
};

// A decimal number as scanf's "%d" reads it: white space, a sign and digits. Moves past it. None without a
// digit, or when the number does not fit in 32 bits.
[[nodiscard]] std::optional<int32_t> readNumber(Cursor& text);

void skipDigits(Cursor& text);

// The month whose English three-letter name stands at the cursor, whatever the case; 0 when none does.
[[nodiscard]] int32_t monthAt(const Cursor& text);

// "year hour:minute:second" as scanf's "%d %d:%d:%d" reads it. False when one of the four is missing.
[[nodiscard]] bool readYearAndTime(Cursor& text, MailDate& date);

// The date as calendar time, taken as local time: a zone is not known here. None when day or month is below
// 1, or mktime gives -1.
[[nodiscard]] std::optional<time_t> calendarTime(const MailDate& date);

}  // namespace eml
