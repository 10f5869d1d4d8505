#include "tool/text/date_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>

namespace emltool {
namespace {

// Sets the time zone of the process while it lives.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        if (const char* before = std::getenv("TZ")) before_ = before;
        set(zone);
    }
    ~TimeZone() { set(before_ ? before_->c_str() : nullptr); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

  private:
    static void set(const char* zone) {
        if (zone == nullptr) {
            ::unsetenv("TZ");
        } else {
            ::setenv("TZ", zone, 1);
        }
        ::tzset();
    }

    std::optional<std::string> before_;
};

constexpr int64_t kMarch = 1741079722;  // 2025-03-04 09:15:22 UTC

TEST(DateText, HasTheZoneOfTheField) {
    TimeZone utc("UTC0");
    struct {
        const char* rule;
        const char* sent;
        const char* zone;
    } const cases[] = {
        {"digits at the end", "Tue, 4 Mar 2025 09:15:22 +0100", "+01:00"},
        {"west", "Tue, 4 Mar 2025 09:15:22 -0800", "-08:00"},
        {"half hours", "Tue, 4 Mar 2025 09:15:22 +0530", "+05:30"},
        {"a comment after", "Tue, 4 Mar 2025 09:15:22 -0330 (NST)", "-03:30"},
        {"nothing between", "4 Mar 2025 09:15:22+1400", "+14:00"},
        {"unknown zone", "4 Mar 2025 09:15:22 -0000", "-00:00"},
        {"the last of two", "+0100 +0200", "+02:00"},
        {"the greatest", "x +2359", "+23:59"},
        {"no such hour", "x +2400", "-00:00"},
        {"no such minute", "x +0160", "-00:00"},
        {"no such zone", "x +9999", "-00:00"},
        {"GMT", "Tue, 4 Mar 2025 09:15:22 GMT", "+00:00"},
        {"UTC", "Tue, 4 Mar 2025 09:15:22 UTC", "+00:00"},
        {"UT", "Tue, 4 Mar 2025 09:15:22 UT", "+00:00"},
        {"another name", "Tue, 4 Mar 2025 09:15:22 EST", "-00:00"},
        {"none", "Tue, 4 Mar 2025 09:15:22", "-00:00"},
        {"empty", "", "-00:00"},
        {"cut", "x +010", "-00:00"},
        {"a sign alone", "+", "-00:00"},
        {"letters", "x +01a0", "-00:00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(dateText(kMarch, c.sent), std::string("2025-03-04T09:15:22") + c.zone) << c.rule;
    }
}

TEST(DateText, IsTheLocalClockWhateverTheZoneOfTheField) {
    TimeZone west("EST5");
    EXPECT_EQ(dateText(kMarch, "+0100"), "2025-03-04T04:15:22+01:00");
}

TEST(DateText, HasFourDigitsForTheYear) {
    TimeZone utc("UTC0");
    EXPECT_EQ(dateText(0, "GMT"), "1970-01-01T00:00:00+00:00");
    EXPECT_EQ(dateText(-1, "GMT"), "1969-12-31T23:59:59+00:00");
    EXPECT_EQ(dateText(2147483647, "GMT"), "2038-01-19T03:14:07+00:00");
    EXPECT_EQ(dateText(INT64_MAX, "GMT"), "");
    EXPECT_EQ(dateText(INT64_MIN, "GMT"), "");
    if (sizeof(time_t) < sizeof(int64_t)) return;  // the rest is beyond its clock
    EXPECT_EQ(dateText(253402300799, "GMT"), "9999-12-31T23:59:59+00:00");
    EXPECT_EQ(dateText(253402300800, "GMT"), "");
    EXPECT_EQ(dateText(-62167219200, "GMT"), "0000-01-01T00:00:00+00:00");
    EXPECT_EQ(dateText(-62167219201, "GMT"), "");
}

}  // namespace
}  // namespace emltool
