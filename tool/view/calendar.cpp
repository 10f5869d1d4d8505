#include "tool/view/calendar.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

#include "tool/text/ascii.h"

namespace emltool {

namespace {

// A content line: NAME;PARAMETER=VALUE:value
struct Property {
    std::string name;  // in capitals
    std::vector<std::pair<std::string, std::string>> parameters;
    std::string value;

    std::string_view find(std::string_view parameter) const {
        for (const auto& [each, text] : parameters) {
            if (each == parameter) return text;
        }
        return {};
    }
};

std::string capitals(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return result;
}

std::string_view trimmed(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

// The next line with what is folded into it (section 3.1); false at the end.
bool nextLine(std::string_view& text, std::string& line) {
    line.clear();
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view piece = text.substr(0, end);
        if (piece.ends_with('\r')) piece.remove_suffix(1);
        line += piece;
        text.remove_prefix(std::min(end + 1, text.size()));
        const bool isFolded = !text.empty() && (text[0] == ' ' || text[0] == '\t');
        if (!isFolded) return true;
        text.remove_prefix(1);
    }
    return !line.empty();
}

// Where the name or parameter at `start` ends: at one of `ends` outside of quotes.
size_t endOf(std::string_view line, size_t start, std::string_view ends) {
    bool isQuoted = false;
    for (size_t i = start; i < line.size(); ++i) {
        if (line[i] == '"') isQuoted = !isQuoted;
        if (!isQuoted && ends.find(line[i]) != std::string_view::npos) return i;
    }
    return line.size();
}

bool parse(std::string_view line, Property& property) {
    property.parameters.clear();
    size_t at = endOf(line, 0, ";:");
    if (at == line.size()) return false;
    property.name = capitals(trimmed(line.substr(0, at)));
    while (line[at] == ';') {
        const size_t end = endOf(line, at + 1, ";:");
        if (end == line.size()) return false;
        const std::string_view parameter = line.substr(at + 1, end - at - 1);
        const size_t equals = std::min(parameter.find('='), parameter.size());
        std::string value(parameter.substr(std::min(equals + 1, parameter.size())));
        std::erase(value, '"');
        property.parameters.emplace_back(capitals(trimmed(parameter.substr(0, equals))), std::move(value));
        at = end;
    }
    property.value = line.substr(at + 1);
    return true;
}

// A value of type TEXT (section 3.3.11).
std::string unescaped(std::string_view value) {
    std::string text;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char c = value[++i];
        text += c == 'n' || c == 'N' ? '\n' : c;
    }
    return text;
}

// So many digits as a number; nothing if they are none.
std::optional<int> number(std::string_view text, size_t start, size_t count) {
    if (start + count > text.size()) return std::nullopt;
    int value = 0;
    for (char c : text.substr(start, count)) {
        if (c < '0' || c > '9') return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return value;
}

std::chrono::sys_days dayOf(const CalendarTime& time) {
    return std::chrono::year(time.year) / time.month / time.day;
}

void setDay(CalendarTime& time, std::chrono::sys_days days) {
    const std::chrono::year_month_day date(days);
    time.year = static_cast<int>(date.year());
    time.month = static_cast<int>(static_cast<unsigned>(date.month()));
    time.day = static_cast<int>(static_cast<unsigned>(date.day()));
}

// "20250304T091500Z", "20250304" (sections 3.3.4 and 3.3.5).
CalendarTime timeOf(const Property& property) {
    CalendarTime time;
    const std::string_view value = trimmed(property.value);
    const auto year = number(value, 0, 4);
    const auto month = number(value, 4, 2);
    const auto day = number(value, 6, 2);
    if (!year || !month || !day) return time;
    if (!(std::chrono::year(*year) / *month / *day).ok()) return time;
    time.year = *year;
    time.month = *month;
    time.day = *day;
    time.kind = CalendarTime::Kind::kDate;
    if (value.size() < 13 || value[8] != 'T') return time;
    const auto hour = number(value, 9, 2);
    const auto minute = number(value, 11, 2);
    if (!hour || !minute || *hour > 23 || *minute > 59) return time;
    time.hour = *hour;
    time.minute = *minute;
    time.zone = property.find("TZID");
    if (value.ends_with('Z')) {
        time.kind = CalendarTime::Kind::kUtc;
    } else {
        time.kind = time.zone.empty() ? CalendarTime::Kind::kFloating : CalendarTime::Kind::kZoned;
    }
    return time;
}

// "PT1H30M", "P1D", "P2W" in minutes (section 3.3.6); nothing for a negative or unreadable one.
std::optional<int64_t> minutesOf(std::string_view text) {
    constexpr int64_t kMost = int64_t{100} * 366 * 24 * 60;
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    if (!text.starts_with('P')) return std::nullopt;
    int64_t minutes = 0;
    int64_t value = 0;
    for (char c : text.substr(1)) {
        if (c >= '0' && c <= '9') {
            value = std::min(value * 10 + (c - '0'), kMost);
            continue;
        }
        if (c == 'T') continue;
        const int64_t unit = c == 'W' ? 7 * 24 * 60 : c == 'D' ? 24 * 60 : c == 'H' ? 60 : c == 'M' ? 1 : 0;
        if (unit == 0 && c != 'S') return std::nullopt;
        minutes = std::min(minutes + value * unit, kMost);
        value = 0;
    }
    return minutes;
}

CalendarTime after(const CalendarTime& start, int64_t minutes) {
    constexpr int64_t kDay = int64_t{24} * 60;
    CalendarTime end = start;
    const int64_t total = int64_t{start.hour} * 60 + start.minute + minutes;
    setDay(end, dayOf(start) + std::chrono::days(total / kDay));
    end.hour = static_cast<int>(total / 60 % 24);
    end.minute = static_cast<int>(total % 60);
    return end;
}

CalendarPerson personOf(const Property& property) {
    CalendarPerson person;
    person.name = trimmed(property.find("CN"));
    person.answer = capitals(property.find("PARTSTAT"));
    person.address = trimmed(property.value);
    if (startsWithNoCase(person.address, "mailto:")) person.address.erase(0, 7);
    return person;
}

class Reader {
  public:
    Calendar read(std::string_view text);

  private:
    void take(const Property& property);
    void takeText(const Property& property);
    void finish();

    Calendar calendar_;
    CalendarEvent event_;
    std::optional<int64_t> duration_;
    bool inEvent_ = false;
    size_t inside_ = 0;  // components inside the event, such as alarms
};

void Reader::takeText(const Property& property) {
    struct Row {
        std::string_view name;
        std::string CalendarEvent::*member;
    };
    constexpr std::array<Row, 4> kTexts = {{{"SUMMARY", &CalendarEvent::summary},
                                            {"LOCATION", &CalendarEvent::location},
                                            {"DESCRIPTION", &CalendarEvent::description},
                                            {"COMMENT", &CalendarEvent::comment}}};
    for (const Row& row : kTexts) {
        if (property.name == row.name && (event_.*row.member).empty()) {
            event_.*row.member = unescaped(property.value);
        }
    }
}

void Reader::take(const Property& property) {
    takeText(property);
    if (property.name == "DTSTART") event_.start = timeOf(property);
    if (property.name == "DTEND") event_.end = timeOf(property);
    if (property.name == "DURATION") duration_ = minutesOf(property.value);
    if (property.name == "RRULE" && event_.rule.empty()) event_.rule = trimmed(property.value);
    if (property.name == "STATUS") event_.status = capitals(trimmed(property.value));
    if (property.name == "UID") event_.id = property.value;
    if (property.name == "ORGANIZER") event_.organizer = personOf(property);
    if (property.name == "SEQUENCE") {
        const std::string_view digits = trimmed(property.value);
        event_.sequence =
            static_cast<unsigned>(number(digits, 0, std::min<size_t>(digits.size(), 8)).value_or(0));
    }
    if (property.name != "ATTENDEE") return;
    if (event_.attendees.size() < kMaxAttendees) {
        event_.attendees.push_back(personOf(property));
    } else {
        ++event_.moreAttendees;
    }
}

void Reader::finish() {
    using Kind = CalendarTime::Kind;
    CalendarTime& end = event_.end;
    if (end.kind == Kind::kNone && duration_ && event_.start.kind != Kind::kNone) {
        end = after(event_.start, *duration_);
    }
    // An end is the first moment after the event: of whole days the day before it is the last.
    if (end.kind == Kind::kDate && event_.start.kind == Kind::kDate && dayOf(end) > dayOf(event_.start)) {
        setDay(end, dayOf(end) - std::chrono::days(1));
    }
    if (calendar_.events.size() < kMaxEvents) {
        calendar_.events.push_back(std::move(event_));
    } else {
        ++calendar_.moreEvents;
    }
    event_ = {};
    duration_.reset();
}

Calendar Reader::read(std::string_view text) {
    Property property;
    for (std::string line; nextLine(text, line);) {
        if (!parse(line, property)) continue;
        const std::string component = capitals(trimmed(property.value));
        if (property.name == "BEGIN") {
            if (inEvent_) {
                ++inside_;
            } else if (component == "VEVENT") {
                inEvent_ = true;
            }
        } else if (property.name == "END") {
            if (inside_ != 0) {
                --inside_;
            } else if (inEvent_) {
                inEvent_ = false;
                finish();
            }
        } else if (inEvent_ && inside_ == 0) {
            take(property);
        } else if (!inEvent_ && property.name == "METHOD" && calendar_.method.empty()) {
            calendar_.method = component;
        }
    }
    if (inEvent_) finish();  // cut off
    return std::move(calendar_);
}

}  // namespace

Calendar readCalendar(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return Reader().read(text);
}

}  // namespace emltool
