// Dates: the forms of RFC 5322, and the ones that programs and people write instead.
#include "mime/date_time.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kValid = EML_MIME_DATE_VALID;
constexpr uint32_t kNoZone = EML_MIME_DATE_NO_ZONE;
constexpr uint32_t kNoTime = EML_MIME_DATE_NO_TIME;
constexpr uint32_t kOdd = EML_MIME_DATE_IRREGULAR;

// The text in a block of exactly its size.
EmlMimeDate read(const std::string& text) {
    const std::vector<char> bytes(text.begin(), text.end());
    return eml::readDate({bytes.data(), bytes.size()});
}

bool isLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysOf(int year, int month) {
    const int days[] = {31, isLeap(year) ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1];
}

// Days from 1970-01-01, counted one year and one month at a time.
int64_t plainDays(int year, int month, int day) {
    int64_t days = day - 1;
    for (int m = 1; m < month; ++m) days += daysOf(year, m);
    for (int y = 1970; y < year; ++y) days += isLeap(y) ? 366 : 365;
    for (int y = year; y < 1970; ++y) days -= isLeap(y) ? 366 : 365;
    return days;
}

// "2025-03-04 09:15:22" as local time in a zone.
int64_t plainSeconds(const std::string& local, int zoneMinutes) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    EXPECT_EQ(std::sscanf(local.c_str(), "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second),
              6);
    return plainDays(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - zoneMinutes * 60;
}

struct Row {
    const char* text;
    const char* local;  // NULL: no date
    int zone;
    uint32_t flags;  // beside kValid
};

void check(const Row& row) {
    SCOPED_TRACE(row.text);
    const EmlMimeDate date = read(row.text);
    if (row.local == nullptr) {
        EXPECT_EQ(date.flags, 0U);
        EXPECT_EQ(date.seconds, 0);
        EXPECT_EQ(date.zoneMinutes, 0);
        return;
    }
    EXPECT_EQ(date.flags, row.flags | kValid);
    EXPECT_EQ(date.zoneMinutes, row.zone);
    EXPECT_EQ(date.seconds, plainSeconds(row.local, row.zone));
}

TEST(MimeDate, FormsOfRfc5322) {
    const Row rows[] = {
        // Appendix A
        {"Fri, 21 Nov 1997 09:55:06 -0600", "1997-11-21 09:55:06", -360, 0},  // A.1.1
        {"Tue, 1 Jul 2003 10:52:37 +0200", "2003-07-01 10:52:37", 120, 0},    // A.1.2
        {"Thu, 13 Feb 1969 23:32:54 -0330", "1969-02-13 23:32:54", -210, 0},  // A.1.3
        {"Fri, 21 Nov 1997 10:01:10 -0600", "1997-11-21 10:01:10", -360, 0},  // A.2
        {"Fri, 21 Nov 1997 11:00:00 -0600", "1997-11-21 11:00:00", -360, 0},  // A.2
        {"Mon, 24 Nov 1997 14:22:01 -0800", "1997-11-24 14:22:01", -480, 0},  // A.3
        {"21 Nov 1997 10:05:43 -0600", "1997-11-21 10:05:43", -360, 0},       // A.4
        {"21 Nov 1997 10:01:22 -0600", "1997-11-21 10:01:22", -360, 0},       // A.4
        {"Thu,\r\n      13\r\n        Feb\r\n          1969\r\n      23:32\r\n               -0330 "
         "(Newfoundland Time)",
         "1969-02-13 23:32:00", -210, 0},                                                     // A.5
        {"21 Nov 97 09:55:06 GMT", "1997-11-21 09:55:06", 0, 0},                              // A.6.2
        {"Fri, 21 Nov 1997 09(comment):   55  :  06 -0600", "1997-11-21 09:55:06", -360, 0},  // A.6.3
        // Section 3.3
        {"4 Mar 2025 09:15 +0000", "2025-03-04 09:15:00", 0, 0},
        {"04 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},
        {"Tue, 4 Mar 2025 09:15:22 +0530", "2025-03-04 09:15:22", 330, 0},
        {"Tue, 4 Mar 2025 09:15:22 +1400", "2025-03-04 09:15:22", 840, 0},
        {"Tue, 4 Mar 2025 09:15:22 -1200", "2025-03-04 09:15:22", -720, 0},
        {"Tue, 4 Mar 2025 09:15:22 +9959", "2025-03-04 09:15:22", 5999, 0},
        {"Tue, 4 Mar 2025 09:15:22 -9959", "2025-03-04 09:15:22", -5999, 0},
        {"Tue, 4 Mar 2025 09:15:22 -0000", "2025-03-04 09:15:22", 0, kNoZone},
        {"Tue,4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},
        {"Tue , 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},
        {"  Tue, 4 Mar 2025 09:15:22 +0100  ", "2025-03-04 09:15:22", 60, 0},
        {"Tue, 4 Mar 2025 00:00:00 +0000", "2025-03-04 00:00:00", 0, 0},
        {"Tue, 4 Mar 2025 23:59:59 +0000", "2025-03-04 23:59:59", 0, 0},
        {"Sat, 31 Dec 2016 23:59:60 +0000", "2016-12-31 23:59:59", 0, 0},
        {"Sun, 1 Jan 2017 05:29:60 +0530", "2017-01-01 05:29:59", 330, 0},
        {"Sat, 29 Feb 2020 12:00:00 +0000", "2020-02-29 12:00:00", 0, 0},
        {"Tue, 29 Feb 2000 12:00:00 +0000", "2000-02-29 12:00:00", 0, 0},
        {"Mon, 1 Jan 1900 00:00:00 +0000", "1900-01-01 00:00:00", 0, 0},
        {"Fri, 31 Dec 9999 23:59:59 +0000", "9999-12-31 23:59:59", 0, 0},
        {"1 Jan 12345 00:00:00 +0000", "12345-01-01 00:00:00", 0, 0},
        {"tue, 4 mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},
        {"TUE, 4 MAR 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},
        {"Mon, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, 0},  // it is a Tuesday
        {"(a) Tue (b), (c) 4 (d) Mar (e) 2025 (f) 09 (g) : (h) 15 (i) : (j) 22 (k) +0100 (l)",
         "2025-03-04 09:15:22", 60, 0},
        {"Tue, 4 Mar 2025 09:15:22 +0100 (a (nested) \\) comment)", "2025-03-04 09:15:22", 60, 0},
        {"Tue, 4 Mar 2025 09:15:22 +0100 (CET", "2025-03-04 09:15:22", 60, 0},
        {"Tue, 4 Mar 2025 09:15:22\t+0100\r\n", "2025-03-04 09:15:22", 60, 0},
        // Section 4.3
        {"4 Mar 00 09:15:22 GMT", "2000-03-04 09:15:22", 0, 0},
        {"4 Mar 25 09:15:22 GMT", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 49 09:15:22 GMT", "2049-03-04 09:15:22", 0, 0},
        {"4 Mar 50 09:15:22 GMT", "1950-03-04 09:15:22", 0, 0},
        {"4 Mar 99 09:15:22 GMT", "1999-03-04 09:15:22", 0, 0},
        {"4 Mar 100 09:15:22 GMT", "2000-03-04 09:15:22", 0, 0},
        {"4 Mar 125 09:15:22 GMT", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 099 09:15:22 GMT", "1999-03-04 09:15:22", 0, 0},
        {"4 Mar 2025 09:15:22 UT", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 2025 09:15:22 GMT", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 2025 09:15:22 gmt", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 2025 09:15:22GMT", "2025-03-04 09:15:22", 0, 0},
        {"4 Mar 2025 09:15:22 EST", "2025-03-04 09:15:22", -300, 0},
        {"4 Mar 2025 09:15:22 EDT", "2025-03-04 09:15:22", -240, 0},
        {"4 Mar 2025 09:15:22 CST", "2025-03-04 09:15:22", -360, 0},
        {"4 Mar 2025 09:15:22 CDT", "2025-03-04 09:15:22", -300, 0},
        {"4 Mar 2025 09:15:22 MST", "2025-03-04 09:15:22", -420, 0},
        {"4 Mar 2025 09:15:22 MDT", "2025-03-04 09:15:22", -360, 0},
        {"4 Mar 2025 09:15:22 PST", "2025-03-04 09:15:22", -480, 0},
        {"4 Mar 2025 09:15:22 PDT", "2025-03-04 09:15:22", -420, 0},
        {"4 Mar 2025 09:15:22 A", "2025-03-04 09:15:22", 0, kNoZone},
        {"4 Mar 2025 09:15:22 i", "2025-03-04 09:15:22", 0, kNoZone},
        {"4 Mar 2025 09:15:22 K", "2025-03-04 09:15:22", 0, kNoZone},
        {"4 Mar 2025 09:15:22 Z", "2025-03-04 09:15:22", 0, kNoZone},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeDate, NearlyRfc5322) {
    const Row rows[] = {
        // Zones
        {"Tue, 4 Mar 2025 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"Tue, 4 Mar 2025 09:15", "2025-03-04 09:15:00", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 J", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 UTC", "2025-03-04 09:15:22", 0, kOdd},
        {"4 Mar 2025 09:15:22 CET", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Aug 2025 09:15:22 CEST", "2025-08-04 09:15:22", 120, kOdd},
        {"4 Mar 2025 09:15:22 MET", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 MEZ", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Aug 2025 09:15:22 MET DST", "2025-08-04 09:15:22", 120, kOdd},
        {"4 Aug 2025 09:15:22 BST", "2025-08-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 JST", "2025-03-04 09:15:22", 540, kOdd},
        {"4 Mar 2025 09:15:22 IST", "2025-03-04 09:15:22", 330, kOdd},
        {"4 Mar 2025 09:15:22 EET", "2025-03-04 09:15:22", 120, kOdd},
        {"4 Mar 2025 09:15:22 MSK", "2025-03-04 09:15:22", 180, kOdd},
        {"4 Mar 2025 09:15:22 AEDT", "2025-03-04 09:15:22", 660, kOdd},
        {"4 Mar 2025 09:15:22 HST", "2025-03-04 09:15:22", -600, kOdd},
        {"4 Mar 2025 09:15:22 XYZT", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 +x", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 + 0100", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 - 0100", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 LOCAL", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 +01:00", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 -03:30", "2025-03-04 09:15:22", -210, kOdd},
        {"4 Mar 2025 09:15:22 +1:00", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +1", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +01", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 -530", "2025-03-04 09:15:22", -330, kOdd},
        {"4 Mar 2025 09:15:22+0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22-0500", "2025-03-04 09:15:22", -300, kOdd},
        {"4 Mar 2025 09:15:22 0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +0060", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 -00:00", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 09:15:22 GMT+0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 GMT-0500", "2025-03-04 09:15:22", -300, kOdd},
        {"4 Mar 2025 09:15:22 GMT +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 GMT+01:00", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 UTC+1", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +0100 CET", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 -0500 EST", "2025-03-04 09:15:22", -300, kOdd},
        {"4 Mar 2025 09:15:22 EST -0500", "2025-03-04 09:15:22", -300, kOdd},
        {"4 Mar 2025 09:15:22 +0100 +0200", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 \"GMT\"", "2025-03-04 09:15:22", 0, kOdd},
        {"4 Mar 2025 09:15:22 +010000", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        // Words
        {"Tue 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tuesday, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tues, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 March 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 Mar. 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Thu, 4 Sept 2025 09:15:22 +0100", "2025-09-04 09:15:22", 60, kOdd},
        {"Thu, 4 SEPTEMBER 2025 09:15:22 +0100", "2025-09-04 09:15:22", 60, kOdd},
        {"Di, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {", 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue,, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue. 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4. Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4th Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 Mar, 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 Mar 2025, 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 Mar 2025 at 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 4 Mar '25 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue,4Mar2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Date: Tue, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"12 items; Tue, 4 Mar 2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        // Time
        {"4 Mar 2025 9:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 9:5:2 +0100", "2025-03-04 09:05:02", 60, kOdd},
        {"4 Mar 2025 09.15.22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09.15 +0100", "2025-03-04 09:15:00", 60, kOdd},
        {"4 Mar 2025 09:15:22.123 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22,123456 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 AM +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 PM +0100", "2025-03-04 21:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22pm +0100", "2025-03-04 21:15:22", 60, kOdd},
        {"4 Mar 2025 09:15 p.m. EST", "2025-03-04 21:15:00", -300, kOdd},
        {"4 Mar 2025 12:15:22 AM", "2025-03-04 00:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 12:15:22 PM", "2025-03-04 12:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 21:15:22 PM", "2025-03-04 21:15:22", 0, kNoZone | kOdd},
        {"4 Mar 2025 9 PM", "2025-03-04 21:00:00", 0, kNoZone | kOdd},
        {"4 Mar 2025 9:15:22\xe2\x80\xafPM", "2025-03-04 21:15:22", 0, kNoZone | kOdd},
        {"4 Mar 9:15:2025", "2025-03-04 09:15:00", 0, kNoZone | kOdd},  // a year after the colon is no second
        {"4 Mar 2025 24:00:00 +0000", "2025-03-05 00:00:00", 0, kOdd},
        {"4 Mar 2025 24:00:01 +0000", "2025-03-04 00:00:00", 0, kNoTime | kOdd},
        {"4 Mar 2025 25:00:00 +0000", "2025-03-04 00:00:00", 0, kNoTime | kOdd},
        {"4 Mar 2025 09:60:00 +0000", "2025-03-04 00:00:00", 0, kNoTime | kOdd},
        {"4 Mar 2025 09:15:61 +0000", "2025-03-04 00:00:00", 0, kNoTime | kOdd},
        {"4 Mar 2025", "2025-03-04 00:00:00", 0, kNoTime | kNoZone | kOdd},
        {"4 Mar 2025 +0100", "2025-03-04 00:00:00", 60, kNoTime | kOdd},
        // What follows
        {"4 Mar 2025 09:15:22 +0100 and more 17 words", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +0100;", "2025-03-04 09:15:22", 60, kOdd},
        {"4 Mar 2025 09:15:22 +0100 4 Apr 2026 10:16:23 +0200", "2025-03-04 09:15:22", 60, kOdd},
        // Years
        {"4 Mar 0025 09:15:22 +0100", "25-03-04 09:15:22", 60, kOdd},
        {"4 Mar 1899 09:15:22 +0100", "1899-03-04 09:15:22", 60, kOdd},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeDate, OtherForms) {
    const Row rows[] = {
        // asctime and its kin
        {"Tue Mar  4 09:15:22 2025", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"Tue Mar 4 09:15:22 2025 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue Mar  4 09:15:22 CET 2025", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue Mar  4 09:15:22 EST 2025", "2025-03-04 09:15:22", -300, kOdd},
        {"Tue Mar 04 09:15:22 +0100 2025", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue Mar 04 09:15:22 -0500 2025", "2025-03-04 09:15:22", -300, kOdd},
        {"Tue, Mar 4 2025 09:15:22 GMT", "2025-03-04 09:15:22", 0, kOdd},
        {"Mar 4 2025", "2025-03-04 00:00:00", 0, kNoTime | kNoZone | kOdd},
        {"Mar 4, 2025 09:15:22 AM", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"March 4, 2025 at 9:15 PM EST", "2025-03-04 21:15:00", -300, kOdd},
        {"Tue Mar 04 2025 09:15:22 GMT+0100 (Central European Standard Time)", "2025-03-04 09:15:22", 60,
         kOdd},
        {"09:15:22 4 Mar 2025 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Mar/04/2025 09:15", "2025-03-04 09:15:00", 0, kNoZone | kOdd},
        // With dashes
        {"4-Mar-2025 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"Tue, 04-Mar-2025 09:15:22 GMT", "2025-03-04 09:15:22", 0, kOdd},
        {"Tuesday, 04-Mar-25 09:15:22 GMT", "2025-03-04 09:15:22", 0, kOdd},
        {"2025-Mar-04 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"Mar-04-2025", "2025-03-04 00:00:00", 0, kNoTime | kNoZone | kOdd},
        // RFC 3339, ISO 8601
        {"2025-03-04T09:15:22Z", "2025-03-04 09:15:22", 0, kOdd},
        {"2025-03-04T09:15:22+01:00", "2025-03-04 09:15:22", 60, kOdd},
        {"2025-03-04T09:15:22.123456789-05:00", "2025-03-04 09:15:22", -300, kOdd},
        {"2025-03-04t09:15:22z", "2025-03-04 09:15:22", 0, kOdd},
        {"2025-03-04T09:15Z", "2025-03-04 09:15:00", 0, kOdd},
        {"2025-03-04T09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"2025-03-04T09:15:22-00:00", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"2025-03-04 09:15:22 +0100", "2025-03-04 09:15:22", 60, kOdd},
        {"2025-03-04 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"2025-03-04 09:15:22 UTC", "2025-03-04 09:15:22", 0, kOdd},
        {"2025-03-04 09:15:22Z", "2025-03-04 09:15:22", 0, kOdd},
        {"2025-03-04", "2025-03-04 00:00:00", 0, kNoTime | kNoZone | kOdd},
        {"2025-3-4 9:15", "2025-03-04 09:15:00", 0, kNoZone | kOdd},
        {"2025/03/04 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"2025.03.04 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"20250304T091522Z", "2025-03-04 09:15:22", 0, kOdd},
        {"20250304T0915Z", "2025-03-04 09:15:00", 0, kOdd},
        {"20250304T091522+0100", "2025-03-04 09:15:22", 60, kOdd},
        {"20250304", "2025-03-04 00:00:00", 0, kNoTime | kNoZone | kOdd},
        {"20250304091522", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"202503040915", "2025-03-04 09:15:00", 0, kNoZone | kOdd},
        {"1990-12-31T23:59:60Z", "1990-12-31 23:59:59", 0, kOdd},           // RFC 3339 section 5.8
        {"1990-12-31T15:59:60-08:00", "1990-12-31 15:59:59", -480, kOdd},   // RFC 3339 section 5.8
        {"1937-01-01T12:00:27.87+00:20", "1937-01-01 12:00:27", 20, kOdd},  // RFC 3339 section 5.8
        // Numbers alone: month first with "/", day first with "." and "-", unless only the other fits
        {"03/04/2025 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"13/04/2025 09:15:22", "2025-04-13 09:15:22", 0, kNoZone | kOdd},
        {"03/14/25 9:15 PM", "2025-03-14 21:15:00", 0, kNoZone | kOdd},
        {"04.03.2025 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"4. 3. 2025 09:15", "2025-03-04 09:15:00", 0, kNoZone | kOdd},
        {"03.14.2025", "2025-03-14 00:00:00", 0, kNoTime | kNoZone | kOdd},
        {"04-03-2025 09:15:22", "2025-03-04 09:15:22", 0, kNoZone | kOdd},
        {"Tue, 03/04/2025 09:15:22 -0500", "2025-03-04 09:15:22", -300, kOdd},
    };
    for (const Row& row : rows) check(row);
}

TEST(MimeDate, NoDate) {
    const char* const rows[] = {
        "",
        " ",
        "()",
        "(Tue, 4 Mar 2025 09:15:22 +0100)",
        "(",
        "x",
        "Tue",
        "Tue,",
        "4",
        "4 Mar",
        "Mar 2025",
        "2025",
        "09:15:22",
        "Mar 4 09:15:22",
        "0 Mar 2025 09:15:22 +0100",
        "32 Mar 2025 09:15:22 +0100",
        "31 Apr 2025 09:15:22 +0100",
        "29 Feb 2025 09:15:22 +0100",
        "29 Feb 1900 09:15:22 +0000",
        "30 Feb 2024 09:15:22 +0100",
        "4 Mar 0000 09:15:22 +0100",
        "4 Foo 2025 09:15:22 +0100",
        "2025-13-04",
        "2025-00-04",
        "2025-03-00",
        "2025-03-32",
        "14/14/2025",
        "20251304",
        "20250229T000000Z",
        "1741076122",
        "99999999999999999999999999999999",
        "4 Mar 99999999999999999999999999999 09:15:22 +0100",
        "4 Mar 18446744073709551615 09:15:22 +0000",
        "4 Mar 4294969321 09:15:22 +0000",
        "99999999999999999999 Mar 2025 09:15:22 +0000",
        "4294967300 Mar 2025 09:15:22 +0000",
        "-1 -1 -1",
        "+0100",
        "mailto:x",
        "never",
        "0000-00-00 00:00:00",
        "..",
        "/ / /",
        "4/3",
        "4.3.",
        "T",
        "Z",
    };
    for (const char* text : rows) {
        check({text, nullptr, 0, 0});
    }
}

TEST(MimeDate, EveryDayAsASlowCalendarCountsIt) {
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    int64_t days = plainDays(1890, 1, 1);
    char text[64];
    for (int year = 1890; year <= 2110; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int day = 1; day <= daysOf(year, month); ++day, ++days) {
                std::snprintf(text, sizeof text, "%d %s %04d 01:02:03 +0000", day, months[month - 1], year);
                const EmlMimeDate date = eml::readDate(text);
                ASSERT_EQ(date.seconds, days * 86400 + 3723) << text;
                ASSERT_EQ(date.flags, year < 1900 ? kValid | kOdd : kValid) << text;
                std::snprintf(text, sizeof text, "%04d-%02d-%02dT01:02:03Z", year, month, day);
                ASSERT_EQ(eml::readDate(text).seconds, days * 86400 + 3723) << text;
            }
            std::snprintf(text, sizeof text, "%d %s %04d 01:02:03 +0000", daysOf(year, month) + 1,
                          months[month - 1], year);
            ASSERT_EQ(eml::readDate(text).flags, 0U) << text;
        }
    }
    EXPECT_EQ(days, plainDays(2111, 1, 1));
}

TEST(MimeDate, FarYears) {
    // 400 years have 146097 days.
    const int64_t year2000 = plainDays(2000, 3, 1) * 86400;
    const EmlMimeDate far = read("1 Mar 400002000 00:00:00 +0000");
    EXPECT_EQ(far.flags, kValid);
    EXPECT_EQ(far.seconds, year2000 + int64_t{1000000} * 146097 * 86400);
    EXPECT_EQ(read("31 Dec 999999999 23:59:59 -9959").flags, kValid);
    EXPECT_EQ(read("31 Dec 1000000000 23:59:59 -9959").flags, 0U);
}

TEST(MimeDate, AnyTextEndsWithAnAnswerInRange) {
    std::mt19937 random(2);
    const std::vector<std::string> pieces{"4",        "04",
                                          "2025",     "99999999999999999999",
                                          "Mar",      "Tue",
                                          "T",        "Z",
                                          "GMT",      "+",
                                          "-",        ":",
                                          ".",        "/",
                                          ",",        " ",
                                          "(",        ")",
                                          "\\",       "pm",
                                          "dst",      "60",
                                          "24",       "0100",
                                          "\xff",     std::string(1, '\0'),
                                          "20250304", "20250304091522"};
    for (int round = 0; round < 200000; ++round) {
        std::string text;
        for (size_t i = random() % 14; i > 0; --i) text += pieces[random() % pieces.size()];
        const EmlMimeDate date = read(text);
        if (date.flags == 0) continue;
        ASSERT_NE(date.flags & kValid, 0U) << text;
        ASSERT_LE(std::abs(date.zoneMinutes), 99 * 60 + 99 + 60) << text;
        ASSERT_LE(std::abs(date.seconds), int64_t{32000000} * 1000000000) << text;
        ASSERT_TRUE((date.flags & kNoZone) == 0 || date.zoneMinutes == 0) << text;
    }
}

TEST(MimeDate, LongTextsAreCutOffAndReadOnce) {
    const std::string date = "Tue, 4 Mar 2025 09:15:22 +0100";
    EXPECT_EQ(read(date + std::string(10 << 20, '(')).flags, kValid);
    EXPECT_EQ(read(std::string(10 << 20, ' ') + date).flags, kValid);
    EXPECT_EQ(read(date + std::string(10 << 20, '1')).flags, kValid | kNoZone | kOdd);
    EXPECT_EQ(read(date + std::string(10 << 20, ',')).flags, kValid | kOdd);
    // A form of RFC 5322 must be there as a whole.
    EXPECT_EQ(read(std::string(100, ',') + date).flags, 0U);
}

}  // namespace
