#include "bytes/mail_date.h"

#include <limits>

namespace eml {

namespace {

bool isSpace(uint8_t byte) { return byte == ' ' || (byte >= 9 && byte <= 13); }

bool isDigit(uint8_t byte) { return byte >= '0' && byte <= '9'; }

bool fitsInInt(int64_t value) {
    return value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<int32_t>::max();
}

}  // namespace

std::optional<int32_t> readNumber(Cursor& text) {
    while (isSpace(text.peek())) text.skip(1);
    const bool negative = text.peek() == '-';
    if (negative || text.peek() == '+') text.skip(1);
    if (!isDigit(text.peek())) return std::nullopt;
    int64_t value = 0;
    for (; isDigit(text.peek()); text.skip(1)) {
        if (fitsInInt(value)) value = value * 10 + (text.peek() - '0');
    }
    if (negative) value = -value;
    if (!fitsInInt(value)) return std::nullopt;
    return static_cast<int32_t>(value);
}

void skipDigits(Cursor& text) {
    while (isDigit(text.peek())) text.skip(1);
}

int32_t monthAt(const Cursor& text) {
    constexpr char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int32_t month = 0; month < 12; ++month) {
        if (text.startsWithNoCase(kMonths[month])) return month + 1;
    }
    return 0;
}

bool readYearAndTime(Cursor& text, MailDate& date) {
    int32_t* const fields[] = {&date.year, &date.hour, &date.minute, &date.second};
    for (size_t i = 0; i < 4; ++i) {
        if (i > 1 && !text.accept(':')) return false;
        const std::optional<int32_t> number = readNumber(text);
        if (!number) return false;
        *fields[i] = *number;
    }
    return true;
}

std::optional<time_t> calendarTime(const MailDate& date) {
    if (date.day < 1 || date.month < 1 || !fitsInInt(int64_t{date.year} - 1900)) return std::nullopt;
    std::tm local{};
    local.tm_year = date.year - 1900;
    local.tm_mon = date.month - 1;
    local.tm_mday = date.day;
    local.tm_hour = date.hour;
    local.tm_min = date.minute;
    local.tm_sec = date.second;
    local.tm_isdst = -1;
    const time_t seconds = std::mktime(&local);
    if (seconds == time_t{-1}) return std::nullopt;
    return seconds;
}

}  // namespace eml
