#include "mime/date_time.h"

#include "mime/date_forms.h"
#include "mime/date_tokens.h"

namespace eml {

namespace {

// Days from 0001-01-01 to the first day of a year, in the Gregorian calendar.
constexpr int64_t daysBeforeYear(int64_t year) {
    const int64_t before = year - 1;
    return before * 365 + before / 4 - before / 100 + before / 400;
}

constexpr int64_t kDaysBefore1970 = daysBeforeYear(1970);

constexpr bool isLeapYear(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

constexpr int64_t daysInMonth(int64_t year, int64_t month) {
    if (month == 2) return isLeapYear(year) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

int64_t dayNumber(const DateParts& parts) {
    int64_t days = daysBeforeYear(parts.year) - kDaysBefore1970 + parts.day - 1;
    for (int64_t month = 1; month < parts.month; ++month) days += daysInMonth(parts.year, month);
    return days;
}

bool isCalendarDay(const DateParts& parts) {
    return parts.year >= 1 && parts.month >= 1 && parts.month <= 12 && parts.day >= 1 &&
           parts.day <= daysInMonth(parts.year, parts.month);
}

// Seconds after midnight; of a leap second those of the second before it.
int64_t secondOfDay(const DateParts& parts) {
    const int64_t second = parts.second == 60 ? 59 : parts.second;
    return (parts.hour * 60 + parts.minute) * 60 + second;
}

}  // namespace

EmlMimeDate readDate(std::string_view value) {
    DateTokens tokens;
    readDateTokens(value, tokens);
    DateParts parts{};
    uint32_t flags = EML_MIME_DATE_VALID;
    if (!readStandardDate(tokens, parts)) {
        parts = {};
        flags |= EML_MIME_DATE_IRREGULAR;
        readLooseDate(tokens, parts);
    }
    EmlMimeDate date{};
    if (!isCalendarDay(parts)) return date;
    if (!parts.hasTime) flags |= EML_MIME_DATE_NO_TIME;
    if (!parts.hasZone) flags |= EML_MIME_DATE_NO_ZONE;
    date.zoneMinutes = parts.hasZone ? parts.zoneMinutes : 0;
    date.seconds = dayNumber(parts) * 86400 - int64_t{date.zoneMinutes} * 60;
    if (parts.hasTime) date.seconds += secondOfDay(parts);
    date.flags = flags;
    return date;
}

}  // namespace eml
