// Events of a calendar part (text/calendar, RFC 5545), as far as a person wants to know them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace emltool {

struct CalendarTime {
    enum class Kind { kNone, kDate, kFloating, kUtc, kZoned };

    Kind kind = Kind::kNone;
    int year = 0;
    int month = 0;  // from 1 on
    int day = 0;
    int hour = 0;
    int minute = 0;
    std::string zone;  // kZoned: the name that the calendar gives it
};

struct CalendarPerson {
    std::string name;     // may be empty
    std::string address;  // without "mailto:"
    std::string answer;   // PARTSTAT, in capitals: "ACCEPTED"; empty without one
};

struct CalendarEvent {
    std::string summary;
    std::string location;
    std::string description;
    std::string comment;
    std::string status;  // in capitals: "CANCELLED"
    std::string rule;    // RRULE as written
    std::string id;
    unsigned sequence = 0;
    CalendarTime start;
    CalendarTime end;  // of a day: the last day itself
    CalendarPerson organizer;
    std::vector<CalendarPerson> attendees;
    size_t moreAttendees = 0;  // not in the list, which has a limit
};

struct Calendar {
    std::string method;  // in capitals: "REQUEST"; empty without one
    std::vector<CalendarEvent> events;
    size_t moreEvents = 0;
};

inline constexpr size_t kMaxEvents = 20;
inline constexpr size_t kMaxAttendees = 100;

// Texts are as long as the sender made them, and not safe to show.
Calendar readCalendar(std::string_view text);

// "Tuesday, 4 March 2025, 09:15 – 10:00 (Europe/Berlin)". Empty without a start.
std::string whenText(const CalendarEvent& event);

// "every 2 weeks on Monday and Friday, 10 times". A rule that has no such words is returned as it is.
std::string recurrenceText(std::string_view rule);

}  // namespace emltool
