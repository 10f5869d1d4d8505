#include "tool/view/calendar.h"

#include <gtest/gtest.h>

#include <string>

#include "tool/view/calendar_card.h"

namespace {

using emltool::Calendar;
using emltool::CalendarEvent;
using emltool::readCalendar;
using emltool::recurrenceText;
using emltool::whenText;

CalendarEvent eventOf(const std::string& lines) {
    Calendar calendar =
        readCalendar("BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\n" + lines + "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
    EXPECT_EQ(calendar.events.size(), size_t{1}) << lines;
    return calendar.events.empty() ? CalendarEvent() : calendar.events.front();
}

// RFC 5545 sections 3.3.4, 3.3.5, 3.3.6 and 3.8.2.
TEST(Calendar, SaysWhen) {
    struct Row {
        const char* lines;
        const char* when;
    };
    const Row rows[] = {
        {"DTSTART:20250304T081500Z\r\nDTEND:20250304T090000Z", "Tuesday, 4 March 2025, 08:15 – 09:00 (UTC)"},
        {"DTSTART;TZID=Europe/Berlin:20250304T091500\r\nDTEND;TZID=Europe/Berlin:20250304T100000",
         "Tuesday, 4 March 2025, 09:15 – 10:00 (Europe/Berlin)"},
        {"DTSTART;TZID=\"W. Europe Standard Time\":20250304T091500",
         "Tuesday, 4 March 2025, 09:15 (W. Europe Standard Time)"},
        {"DTSTART;TZID=Europe/Berlin:20250304T230000\r\nDTEND;TZID=Europe/London:20250305T010000",
         "Tuesday, 4 March 2025, 23:00 (Europe/Berlin) – Wednesday, 5 March 2025, 01:00 (Europe/London)"},
        {"DTSTART:20250304T091500", "Tuesday, 4 March 2025, 09:15 (local time)"},
        {"DTSTART;VALUE=DATE:20250304", "Tuesday, 4 March 2025, all day"},
        {"DTSTART;VALUE=DATE:20250304\r\nDTEND;VALUE=DATE:20250305", "Tuesday, 4 March 2025, all day"},
        {"DTSTART;VALUE=DATE:20250304\r\nDTEND;VALUE=DATE:20250307",
         "Tuesday, 4 March 2025 – Thursday, 6 March 2025"},
        {"DTSTART:20250304T234500Z\r\nDURATION:PT1H30M",
         "Tuesday, 4 March 2025, 23:45 – Wednesday, 5 March 2025, 01:15 (UTC)"},
        {"DTSTART;VALUE=DATE:20241231\r\nDURATION:P2D",
         "Tuesday, 31 December 2024 – Wednesday, 1 January 2025"},
        {"DTSTART:20250304T081500Z\r\nDURATION:-PT1H", "Tuesday, 4 March 2025, 08:15 (UTC)"},
        {"DTSTART:20250304T081500Z\r\nDURATION:P99999999999999999999W",
         "Tuesday, 4 March 2025, 08:15 – Thursday, 10 May 2125, 08:15 (UTC)"},
        {"DTSTART:20250230T081500Z", ""},
        {"DTSTART:2025-03-04", ""},
        {"DTSTART:20250304T25", "Tuesday, 4 March 2025, all day"},
        {"DTSTART:", ""},
        {"SUMMARY:no time", ""},
    };
    for (const Row& row : rows) {
        const std::string when = whenText(eventOf(row.lines));
        if (std::string_view(row.lines).find("99999999") != std::string_view::npos) {
            EXPECT_TRUE(when.starts_with("Tuesday, 4 March 2025, 08:15 – ")) << when;
        } else {
            EXPECT_EQ(when, row.when) << row.lines;
        }
    }
}

// Section 3.1: a line goes on after a line end and a blank, even inside a character.
TEST(Calendar, LinesAreUnfolded) {
    EXPECT_EQ(eventOf("SUMMARY:one\r\n  two\r\n\tthree").summary, "one twothree");
    EXPECT_EQ(eventOf("SUMMARY:caf\xC3\r\n \xA9").summary, "café");
    EXPECT_EQ(eventOf("SUMM\n ARY:x").summary, "x");
}

TEST(Calendar, TextsAreUnescaped) {
    const CalendarEvent event =
        eventOf("SUMMARY:a\\, b\\; c\\\\d\r\nDESCRIPTION:one\\ntwo\\N\r\nlocation;X=\"a:b\":Room; 5");
    EXPECT_EQ(event.summary, "a, b; c\\d");
    EXPECT_EQ(event.description, "one\ntwo\n");
    EXPECT_EQ(event.location, "Room; 5");
}

TEST(Calendar, PeopleAndTheirAnswers) {
    const CalendarEvent event = eventOf(
        "ORGANIZER;CN=\"Müller, Zoë\":MAILTO:zoe@example.org\r\n"
        "ATTENDEE;ROLE=REQ-PARTICIPANT;PARTSTAT=accepted;CN=Bo:mailto:bo@example.org\r\n"
        "ATTENDEE:invalid:nomail");
    EXPECT_EQ(event.organizer.name, "Müller, Zoë");
    EXPECT_EQ(event.organizer.address, "zoe@example.org");
    ASSERT_EQ(event.attendees.size(), size_t{2});
    EXPECT_EQ(event.attendees[0].name, "Bo");
    EXPECT_EQ(event.attendees[0].answer, "ACCEPTED");
    EXPECT_EQ(event.attendees[1].address, "invalid:nomail");
}

TEST(Calendar, ManyPeopleAndEventsAreCounted) {
    std::string lines = "UID:1";
    for (size_t i = 0; i < emltool::kMaxAttendees + 5; ++i) lines += "\r\nATTENDEE:mailto:a@x";
    EXPECT_EQ(eventOf(lines).moreAttendees, size_t{5});
    std::string many;
    for (size_t i = 0; i < emltool::kMaxEvents + 3; ++i) many += "BEGIN:VEVENT\nUID:1\nEND:VEVENT\n";
    EXPECT_EQ(readCalendar(many).moreEvents, size_t{3});
}

TEST(Calendar, WhatLiesInsideAnEventIsNotTheEvent) {
    const CalendarEvent event =
        eventOf("SUMMARY:meeting\r\nBEGIN:VALARM\r\nDESCRIPTION:alarm\r\nEND:VALARM\r\nLOCATION:here");
    EXPECT_EQ(event.description, "");
    EXPECT_EQ(event.location, "here");
}

TEST(Calendar, MethodStatusAndSequence) {
    const Calendar calendar = readCalendar(
        "BEGIN:VCALENDAR\nMETHOD:request\nBEGIN:VTIMEZONE\nTZID:x\nEND:VTIMEZONE\nBEGIN:VEVENT\nSTATUS:"
        "cancelled\n"
        "SEQUENCE:3\nSUMMARY:cut off");
    EXPECT_EQ(calendar.method, "REQUEST");
    ASSERT_EQ(calendar.events.size(), size_t{1});
    EXPECT_EQ(calendar.events[0].status, "CANCELLED");
    EXPECT_EQ(calendar.events[0].sequence, 3U);
    EXPECT_EQ(calendar.events[0].summary, "cut off");
}

TEST(Calendar, AnyBytesAreReadWithoutHarm) {
    for (const char* text : {"", ":", ";", "BEGIN", "BEGIN:VEVENT\nATTENDEE;=;;:x", "END:VEVENT\nEND:VEVENT",
                             "BEGIN:VEVENT\nDTSTART;TZID=\"never ended:20250101", " \n \n ", "\xFF\xFE"}) {
        EXPECT_LE(readCalendar(text).events.size(), size_t{1}) << text;
    }
}

TEST(Calendar, RulesInWords) {
    struct Row {
        const char* rule;
        const char* words;
    };
    const Row rows[] = {
        {"FREQ=DAILY", "every day"},
        {"FREQ=WEEKLY;INTERVAL=1;BYDAY=MO", "every week on Monday"},
        {"FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE,FR;COUNT=10;WKST=SU",
         "every 2 weeks on Monday, Wednesday and Friday, 10 times"},
        {"FREQ=MONTHLY;BYDAY=-1FR;UNTIL=20251231T235959Z",
         "every month on the last Friday, until 31 December 2025"},
        {"FREQ=MONTHLY;BYDAY=2TU", "every month on the second Tuesday"},
        {"FREQ=MONTHLY;BYMONTHDAY=15", "every month on day 15"},
        {"FREQ=YEARLY;BYMONTHDAY=4;BYMONTH=7", "every year on day 4 in July"},
        {"FREQ=WEEKLY;BYSETPOS=2", "FREQ=WEEKLY;BYSETPOS=2"},
        {"FREQ=WEEKLY;BYDAY=XX", "FREQ=WEEKLY;BYDAY=XX"},
        {"FREQ=SOMETIMES", "FREQ=SOMETIMES"},
        {"", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(recurrenceText(row.rule), row.words) << row.rule;
}

TEST(Calendar, CardsAreSafeHtml) {
    const std::string card =
        emltool::calendarCards(readCalendar("METHOD:CANCEL\nBEGIN:VEVENT\nSUMMARY:<script>\nLOCATION:<img "
                                            "src=x>\nDTSTART;TZID=<b>:20250304T091500\n"
                                            "ATTENDEE;CN=<i>:mailto:\"<u>\nEND:VEVENT"));
    for (const char* tag : {"<script", "<img", "<b>", "<i>", "<u>"}) {
        EXPECT_EQ(card.find(tag), std::string::npos) << tag;
    }
    EXPECT_NE(card.find("Cancelled"), std::string::npos);
    EXPECT_EQ(emltool::calendarCards(readCalendar("METHOD:REQUEST")), "");
}

}  // namespace
