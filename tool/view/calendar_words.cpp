
#include <array>
#include <chrono>
#include <optional>

#include "tool/text/ascii.h"
#include "tool/text/format.h"
#include "tool/view/calendar.h"

namespace emltool {

namespace {

constexpr std::array<std::string_view, 7> kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 7> kDayCodes = {"su", "mo", "tu", "we", "th", "fr", "sa"};
constexpr std::array<std::string_view, 12> kMonths = {"January",   "February", "March",    "April",
                                                      "May",       "June",     "July",     "August",
                                                      "September", "October",  "November", "December"};

std::string dayText(const CalendarTime& time) {
    const std::chrono::sys_days day = std::chrono::year(time.year) / time.month / time.day;
    return formatted("{}, {} {} {}", kDays[std::chrono::weekday(day).c_encoding()], time.day,
                     kMonths[static_cast<size_t>(time.month - 1)], time.year);
}

std::string clockText(const CalendarTime& time) { return formatted("{:02}:{:02}", time.hour, time.minute); }

std::string zoneText(const CalendarTime& time) {
    switch (time.kind) {
        case CalendarTime::Kind::kUtc:
            return " (UTC)";
        case CalendarTime::Kind::kZoned:
            return formatted(" ({})", time.zone);
        case CalendarTime::Kind::kFloating:
            return " (local time)";
        case CalendarTime::Kind::kDate:
        case CalendarTime::Kind::kNone:
            break;
    }
    return "";
}

bool sameDay(const CalendarTime& a, const CalendarTime& b) {
    return a.year == b.year && a.month == b.month && a.day == b.day;
}

// "MO" is Monday, "1MO" the first Monday, "-1FR" the last Friday; empty for anything else.
std::string weekdayWords(std::string_view code) {
    constexpr std::array<std::string_view, 6> kOrdinals = {"",       "first ",  "second ",
                                                           "third ", "fourth ", "fifth "};
    if (code.size() < 2) return "";
    std::string_view number = code.substr(0, code.size() - 2);
    std::string_view name;
    for (size_t i = 0; i < kDays.size(); ++i) {
        if (startsWithNoCase(code.substr(code.size() - 2), kDayCodes[i])) name = kDays[i];
    }
    if (name.empty()) return "";
    if (number.empty()) return std::string(name);
    if (number == "-1") return formatted("the last {}", name);
    if (number.starts_with('+')) number.remove_prefix(1);
    if (number.size() != 1 || number[0] < '1' || number[0] > '5') return "";
    return formatted("the {}{}", kOrdinals[static_cast<size_t>(number[0] - '0')], name);
}

// A list with commas in words: "Monday, Tuesday and Friday". Empty if one of its words is unknown.
template <typename Words>
std::string listWords(std::string_view list, Words words) {
    std::vector<std::string> items;
    while (!list.empty() && items.size() < 32) {
        const size_t end = std::min(list.find(','), list.size());
        std::string item = words(list.substr(0, end));
        if (item.empty()) return "";
        items.push_back(std::move(item));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    std::string text;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i != 0) text += i + 1 == items.size() ? " and " : ", ";
        text += items[i];
    }
    return text;
}

std::string digitsOnly(std::string_view text) {
    const bool isNumber =
        !text.empty() && text.size() < 5 && text.find_first_not_of("0123456789") == std::string_view::npos;
    return isNumber ? std::string(text) : "";
}

std::string monthWords(std::string_view text) {
    const std::string digits = digitsOnly(text);
    const int month = digits.empty() ? 0 : std::stoi(digits);
    return month < 1 || month > 12 ? "" : std::string(kMonths[static_cast<size_t>(month - 1)]);
}

std::string untilWords(std::string_view text) {
    for (size_t i = 0; i < 8; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9') return "";
    }
    const std::string month = monthWords(text.substr(4, 2));
    if (month.empty()) return "";
    return formatted("{} {} {}", std::stoi(std::string(text.substr(6, 2))), month, text.substr(0, 4));
}

// How often: "every week", "every 2 weeks".
std::string everyWords(std::string_view frequency, std::string_view interval) {
    struct Row {
        std::string_view code;
        std::string_view unit;
    };
    constexpr std::array<Row, 7> kUnits = {{{"daily", "day"},
                                            {"weekly", "week"},
                                            {"monthly", "month"},
                                            {"yearly", "year"},
                                            {"hourly", "hour"},
                                            {"minutely", "minute"},
                                            {"secondly", "second"}}};
    for (const Row& row : kUnits) {
        if (lowerCase(frequency) != row.code) continue;
        if (interval.empty() || interval == "1") return formatted("every {}", row.unit);
        return digitsOnly(interval).empty() ? "" : formatted("every {} {}s", interval, row.unit);
    }
    return "";
}

}  // namespace

std::string whenText(const CalendarEvent& event) {
    using Kind = CalendarTime::Kind;
    const CalendarTime& start = event.start;
    const CalendarTime& end = event.end;
    if (start.kind == Kind::kNone) return "";
    if (start.kind == Kind::kDate) {
        const bool isOne = end.kind != Kind::kDate || sameDay(start, end);
        return isOne ? dayText(start) + ", all day" : dayText(start) + " – " + dayText(end);
    }
    std::string text = dayText(start) + ", " + clockText(start);
    if (end.kind == Kind::kNone || end.kind == Kind::kDate) return text + zoneText(start);
    if (zoneText(start) != zoneText(end)) text += zoneText(start);
    text += " – ";
    if (!sameDay(start, end)) text += dayText(end) + ", ";
    return text + clockText(end) + zoneText(end);
}

std::string recurrenceText(std::string_view rule) {
    std::string_view frequency;
    std::string_view interval;
    std::string on;
    std::string end;
    for (std::string_view rest = rule; !rest.empty();) {
        const size_t length = std::min(rest.find(';'), rest.size());
        const std::string_view part = rest.substr(0, length);
        rest.remove_prefix(std::min(length + 1, rest.size()));
        const size_t equals = std::min(part.find('='), part.size());
        const std::string key = lowerCase(part.substr(0, equals));
        const std::string_view value = part.substr(std::min(equals + 1, part.size()));
        std::string words;
        if (key == "freq") {
            frequency = value;
        } else if (key == "interval") {
            interval = value;
        } else if (key == "count" && !(words = digitsOnly(value)).empty()) {
            end = words == "1" ? ", once" : ", " + words + " times";
        } else if (key == "until" && !(words = untilWords(value)).empty()) {
            end = ", until " + words;
        } else if (key == "byday" && !(words = listWords(value, weekdayWords)).empty()) {
            on += " on " + words;
        } else if (key == "bymonthday" && !(words = listWords(value, digitsOnly)).empty()) {
            on += " on day " + words;
        } else if (key == "bymonth" && !(words = listWords(value, monthWords)).empty()) {
            on += " in " + words;
        } else if (key != "wkst" && !part.empty()) {
            return std::string(rule);
        }
    }
    const std::string every = everyWords(frequency, interval);
    return every.empty() ? std::string(rule) : every + on + end;
}

}  // namespace emltool
