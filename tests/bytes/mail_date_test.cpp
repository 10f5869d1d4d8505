// The pieces of a date: each against what scanf and mktime say.
#include "bytes/mail_date.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using eml::Cursor;
using eml::MailDate;

// A text in a block of exactly its size, so that a byte read too far is seen.
class Text {
  public:
    explicit Text(const std::string& text) : bytes_(text.begin(), text.end()) {}
    [[nodiscard]] Cursor cursor() const { return {bytes_.data(), bytes_.data() + bytes_.size()}; }

  private:
    std::vector<uint8_t> bytes_;  // made at once from a range: its capacity is its size
};

TEST(MailDate, NumbersAreReadAsScanfReadsThem) {
    struct Row {
        const char* text;
        bool found;
        int32_t value;
        const char* rest;
    };
    const Row rows[] = {
        {"15", true, 15, ""},
        {"15 Nov", true, 15, " Nov"},
        {" \t\r\n\v\f7x", true, 7, "x"},
        {"007", true, 7, ""},
        {"+3", true, 3, ""},
        {"-3", true, -3, ""},
        {"0x10", true, 0, "x10"},
        {"2147483647", true, 2147483647, ""},
        {"-2147483648", true, INT32_MIN, ""},
        {"00000000000000000000000000000000012", true, 12, ""},
        {"2147483648", false, 0, nullptr},
        {"-2147483649", false, 0, nullptr},
        {"99999999999999999999999999999999999999", false, 0, nullptr},
        {"-18446744073709551615", false, 0, nullptr},
        {"18446744073709551617", false, 0, nullptr},  // one, if the digits wrapped around
        {"4294967297", false, 0, nullptr},
        {"", false, 0, nullptr},
        {"  ", false, 0, nullptr},
        {"+", false, 0, nullptr},
        {"- 3", false, 0, nullptr},
        {"+-3", false, 0, nullptr},
        {"x", false, 0, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const Text text(row.text);
        Cursor cursor = text.cursor();
        const std::optional<int32_t> number = eml::readNumber(cursor);
        ASSERT_EQ(number.has_value(), row.found);
        if (!row.found) continue;
        EXPECT_EQ(*number, row.value);
        EXPECT_EQ(std::string(cursor.pos, cursor.end), row.rest);
    }
}

TEST(MailDate, MonthsByThreeLettersInAnyCase) {
    const char* const names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int32_t i = 0; i < 12; ++i) {
        for (int cases = 0; cases < 8; ++cases) {
            std::string name = names[i];
            for (size_t at = 0; at < 3; ++at) {
                name[at] = static_cast<char>((cases >> at & 1) != 0 ? std::toupper(name[at])
                                                                    : std::tolower(name[at]));
            }
            EXPECT_EQ(eml::monthAt(Text(name).cursor()), i + 1) << name;
            EXPECT_EQ(eml::monthAt(Text(name + "ember").cursor()), i + 1) << name;
        }
        EXPECT_EQ(eml::monthAt(Text(std::string(names[i], 2)).cursor()), 0);
        EXPECT_EQ(eml::monthAt(Text(std::string(" ") + names[i]).cursor()), 0);
    }
    for (const char* other : {"", "J", "Mai", "Okt", "Dez", "11", "\xCE\xCF\xD6"}) {
        EXPECT_EQ(eml::monthAt(Text(other).cursor()), 0) << other;
    }
}

TEST(MailDate, YearAndTimeAgreeWithScanf) {
    const char* const rows[] = {
        "1994 08:12:31",
        "1994 08:12:31 -0500",
        " 94 1:2:3",
        "1994 08:12",
        "1994 08:12:",
        "1994 08 :12:31",
        "1994 08: 12: 31",
        "1994 08:12 31",
        "1994 8.12.31",
        "1994",
        "",
        "1994 08:12:-1",
        "1994 24:60:61",
        "-1994 08:12:31",
        "1994:08:12:31",
        "1994 08:12:31Z",
        "1994\t08:12:31",
        "ember 1994 08:12:31",
    };
    for (const char* row : rows) {
        SCOPED_TRACE(row);
        int year = 0, hour = 0, minute = 0, second = 0;
        const bool expected = std::sscanf(row, "%d %d:%d:%d", &year, &hour, &minute, &second) == 4;
        const Text text(row);
        Cursor cursor = text.cursor();
        MailDate date{};
        ASSERT_EQ(eml::readYearAndTime(cursor, date), expected);
        if (!expected) continue;
        EXPECT_EQ(date.year, year);
        EXPECT_EQ(date.hour, hour);
        EXPECT_EQ(date.minute, minute);
        EXPECT_EQ(date.second, second);
    }
}

TEST(MailDate, CalendarTimeIsLocalTimeAsMktimeHasIt) {
    const MailDate rows[] = {
        {15, 11, 1994, 8, 12, 31},
        {1, 7, 2024, 0, 0, 0},
        {31, 12, 2037, 23, 59, 59},
        {31, 2, 2001, 12, 0, 0},
        {400, 1, 2001, 12, 0, 0},
        {1, 1, 2001, 30, 70, 90},
        {1, 1, 2001, -1, -1, -1},
        {1, 1, 94, 0, 0, 0},
        {1, 1, 99999, 0, 0, 0},
        {1, 1, 1960, 0, 0, 0},
        {INT32_MAX, 12, 2000, 0, 0, 0},
        {1, 1, INT32_MAX, 0, 0, 0},
        {1, 1, 0, INT32_MAX, INT32_MAX, INT32_MIN},
    };
    for (const MailDate& row : rows) {
        SCOPED_TRACE(std::to_string(row.year) + "-" + std::to_string(row.month) + "-" +
                     std::to_string(row.day));
        std::tm local{};
        local.tm_year = row.year - 1900;
        local.tm_mon = row.month - 1;
        local.tm_mday = row.day;
        local.tm_hour = row.hour;
        local.tm_min = row.minute;
        local.tm_sec = row.second;
        local.tm_isdst = -1;
        const time_t expected = std::mktime(&local);
        EXPECT_EQ(eml::calendarTime(row).value_or(-1), expected);
    }
}

// The second before 1970 in UTC cannot be told from a date that is none, in whatever zone.
TEST(MailDate, TheSecondThatStandsForNoTimeIsNone) {
    for (const time_t seconds : {time_t{-2}, time_t{-1}, time_t{0}}) {
        std::tm local{};
        ASSERT_NE(localtime_r(&seconds, &local), nullptr);
        const MailDate date{local.tm_mday, local.tm_mon + 1, local.tm_year + 1900,
                            local.tm_hour, local.tm_min,     local.tm_sec};
        const std::optional<time_t> calendar = eml::calendarTime(date);
        EXPECT_EQ(calendar.has_value(), seconds != -1) << seconds;
        EXPECT_EQ(calendar.value_or(-1), seconds);
    }
}

TEST(MailDate, DayAndMonthBelowOneAndYearsThatDoNotFitGiveNone) {
    for (const MailDate& row :
         {MailDate{0, 11, 1994, 0, 0, 0}, MailDate{-3, 11, 1994, 0, 0, 0}, MailDate{1, 0, 1994, 0, 0, 0},
          MailDate{1, 1, INT32_MIN, 0, 0, 0}, MailDate{1, 1, INT32_MIN + 1899, 0, 0, 0}}) {
        EXPECT_FALSE(eml::calendarTime(row).has_value()) << row.year << " " << row.month << " " << row.day;
    }
}

}  // namespace
