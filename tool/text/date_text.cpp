#include "tool/text/date_text.h"

#include <ctime>

#include "tool/text/format.h"

namespace emltool {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "+0100" anywhere in the field is its zone (RFC 5322 section 3.3); older mail has names instead, three of
// which are common.
std::string zoneOf(std::string_view sent) {
    for (size_t at = sent.size(); at-- > 0;) {
        std::string_view zone = sent.substr(at, 5);
        bool isSign = zone[0] == '+' || zone[0] == '-';
        if (!isSign || zone.size() < 5) continue;
        bool areDigits = isDigit(zone[1]) && isDigit(zone[2]) && isDigit(zone[3]) && isDigit(zone[4]);
        // RFC 3339 has no "+99:99".
        if (areDigits && zone.substr(1, 2) <= "23" && zone[3] <= '5') {
            return formatted("{}:{}", zone.substr(0, 3), zone.substr(3));
        }
    }
    for (std::string_view name : {"GMT", "UTC", "UT"}) {
        if (sent.ends_with(name)) return "+00:00";
    }
    return "-00:00";
}

std::string textOf(const std::tm& time, std::string_view zone) {
    const int64_t year = int64_t{time.tm_year} + 1900;
    if (year < 0 || year > 9999) return {};
    return formatted("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}{}", year, time.tm_mon + 1, time.tm_mday,
                     time.tm_hour, time.tm_min, time.tm_sec, zone);
}

}  // namespace

std::string dateText(int64_t seconds, std::string_view sent) {
    auto time = static_cast<time_t>(seconds);
    std::tm local{};
    if (time != seconds || ::localtime_r(&time, &local) == nullptr) return {};
    return textOf(local, zoneOf(sent));
}

std::string utcText(int64_t seconds) {
    auto time = static_cast<time_t>(seconds);
    std::tm utc{};
    if (time != seconds || ::gmtime_r(&time, &utc) == nullptr) return {};
    return textOf(utc, "+00:00");
}

}  // namespace emltool
