#include "reference/dates.h"

#include <cstdint>

namespace reference {
namespace {

bool isBlank(char byte) { return byte == ' ' || byte == '\t'; }
bool isSpace(char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }
bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// Text that is eaten from its front.
struct Rest {
    std::string_view text;

    [[nodiscard]] bool empty() const { return text.empty(); }
    [[nodiscard]] char front() const { return text.empty() ? '\0' : text.front(); }
    void drop(size_t count) { text.remove_prefix(count < text.size() ? count : text.size()); }
    void dropBlanks() {
        while (!text.empty() && isBlank(text.front())) drop(1);
    }

    // As "%d" reads it.
    std::optional<int> number() {
        while (!text.empty() && isSpace(text.front())) drop(1);
        bool negative = false;
        if (front() == '-' || front() == '+') {
            negative = front() == '-';
            drop(1);
        }
        if (!isDigit(front())) return std::nullopt;
        int64_t value = 0;
        bool fits = true;
        for (; isDigit(front()); drop(1)) {
            if (fits) value = value * 10 + (front() - '0');
            if (value > INT64_C(4000000000)) fits = false;
        }
        if (negative) value = -value;
        if (!fits || value < INT32_MIN || value > INT32_MAX) return std::nullopt;
        return static_cast<int>(value);
    }
};

int monthOf(std::string_view name) {
    const std::string_view names = "janfebmaraprmayjunjulaugsepoctnovdec";
    if (name.size() < 3) return 0;
    for (size_t month = 0; month < 12; ++month) {
        bool same = true;
        for (size_t i = 0; i < 3; ++i) {
            const char letter = name[i] >= 'A' && name[i] <= 'Z' ? static_cast<char>(name[i] + 32) : name[i];
            if (letter != names[3 * month + i]) same = false;
        }
        if (same) return static_cast<int>(month) + 1;
    }
    return 0;
}

// "year hour:minute:second" and what it makes of the day and the month.
std::optional<time_t> yearAndTime(Rest rest, int day, int month) {
    int numbers[4];
    for (int i = 0; i < 4; ++i) {
        if (i >= 2) {
            if (rest.front() != ':') return std::nullopt;
            rest.drop(1);
        }
        const std::optional<int> number = rest.number();
        if (!number) return std::nullopt;
        numbers[i] = *number;
    }
    if (month < 1 || day < 1 || numbers[0] < INT32_MIN + 1900) return std::nullopt;
    std::tm local{};
    local.tm_year = numbers[0] - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = numbers[1];
    local.tm_min = numbers[2];
    local.tm_sec = numbers[3];
    local.tm_isdst = -1;
    const time_t seconds = std::mktime(&local);
    if (seconds == -1) return std::nullopt;
    return seconds;
}

}  // namespace

std::optional<time_t> dateOfValue(std::string_view value) {
    if (value.size() < 5) return std::nullopt;
    Rest rest{value.substr(4)};
    rest.dropBlanks();
    const std::optional<int> day = Rest(rest).number();
    if (!day) return std::nullopt;
    while (!rest.empty() && !isBlank(rest.front())) rest.drop(1);
    rest.dropBlanks();
    const int month = monthOf(rest.text);
    if (rest.text.size() >= 3) {
        rest.drop(3);
        rest.dropBlanks();
    }
    return yearAndTime(rest, *day, month);
}

std::optional<time_t> dateBehindField(std::string_view text) {
    Rest rest{text};
    rest.dropBlanks();
    rest.drop(4);
    rest.dropBlanks();
    const std::optional<int> day = Rest(rest).number();
    if (!day) return std::nullopt;
    while (isDigit(rest.front())) rest.drop(1);
    rest.dropBlanks();
    const int month = monthOf(rest.text);
    rest.drop(3);
    rest.dropBlanks();
    return yearAndTime(rest, *day, month);
}

}  // namespace reference
