#include "tool/message/field_list.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>

#include "tool/message/header_in_utf8.h"
#include "tool/text/ascii.h"
#include "tool/text/format.h"

namespace emltool {

namespace {

using namespace std::chrono;
using emlreader::mime::Address;
using emlreader::mime::Date;
using emlreader::mime::Field;

constexpr std::array<std::string_view, 15> kAddressFields = {
    "from",       "sender",          "reply-to",         "to",        "cc",
    "bcc",        "resent-from",     "resent-sender",    "resent-to", "resent-cc",
    "resent-bcc", "resent-reply-to", "mail-followup-to", "errors-to", "disposition-notification-to"};

constexpr std::array<std::string_view, 5> kDateFields = {"date", "resent-date", "delivery-date", "expires",
                                                         "expiry-date"};

template <size_t N>
bool contains(const std::array<std::string_view, N>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

// A display name as RFC 5322 section 3.2.5 has it: in quotes if it has characters that stand for something else.
std::string quotedName(const std::string& name) {
    constexpr std::string_view kSpecials = "()<>[]:;@\\,.\"";
    if (name.find_first_of(kSpecials) == std::string::npos) return name;
    std::string quoted = "\"";
    for (char c : name) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string addressText(const Address& address) {
    if (address.name.empty()) return address.address;
    return formatted("{} <{}>", quotedName(address.name), address.address);
}

// "2025-03-04T09:15:22" in that zone; empty for a year that has not four digits.
std::string clockText(const Date& date, minutes zone) {
    constexpr auto kFirst = sys_days{year{0} / January / 1};
    constexpr auto kLast = sys_days{year{9999} / December / 31};
    // A field can name a zone of 100 hours and 39 minutes. Nothing here overflows: the limits come first.
    constexpr days kMost{5};
    if (date.time < kFirst - kMost || date.time >= kLast + kMost || abs(zone) >= kMost) return {};
    const sys_seconds local = date.time + zone;
    if (local < kFirst || local >= kLast + days{1}) return {};
    const auto day = floor<days>(local);
    const year_month_day ymd{day};
    const hh_mm_ss clock{local - day};
    return formatted("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", static_cast<int>(ymd.year()),
                     static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count());
}

std::string textOf(const Field& field) {
    const std::string name = lowerCase(field.name());
    if (isAddressField(name)) {
        std::string text = addressesText(field.addresses());
        if (!text.empty()) return text;
    }
    if (contains(kDateFields, name)) {
        const std::optional<Date> date = field.date();
        std::string text = date ? dateText(*date) : std::string();
        if (!text.empty()) return text;
    }
    return field.text();
}

}  // namespace

std::string addressesText(const std::vector<Address>& addresses) {
    std::string text;
    std::string group;
    for (const Address& address : addresses) {
        const bool sameGroup = address.group == group;
        if (!sameGroup && !group.empty()) text += ';';
        if (!text.empty()) text += ", ";
        if (!sameGroup && !address.group.empty()) text += quotedName(address.group) + ": ";
        group = address.group;
        text += addressText(address);
    }
    while (text.ends_with(' ')) text.pop_back();  // an empty group
    if (!group.empty()) text += ';';
    return text;
}

bool isAddressField(std::string_view name) { return contains(kAddressFields, name); }

std::string dateText(const Date& date) {
    const minutes zone = date.zone;
    std::string text = clockText(date, zone);
    if (text.empty()) return text;
    // RFC 3339 has no "+99:99".
    const bool noZone = (date.flags & EML_MIME_DATE_NO_ZONE) != 0 || abs(zone) >= hours{24};
    const int64_t shift = noZone ? 0 : std::abs(zone.count());
    return text + formatted("{}{:02}:{:02}", noZone || zone.count() < 0 ? '-' : '+', shift / 60, shift % 60);
}

std::string utcDateText(const Date& date) {
    std::string text = clockText(date, minutes{0});
    return text.empty() ? text : text + 'Z';
}

std::vector<ListedField> fieldList(const emlreader::mime::Message& message, uint32_t part) {
    std::vector<ListedField> fields;
    const emlreader::mime::Part from = message.part(part);
    const HeaderInUtf8 readable(message, part);
    std::vector<std::string> texts;
    for (const Field& field : readable.part().fields()) texts.push_back(textOf(field));
    for (const Field& field : from.fields()) {
        const EmlMimeSpan span = field.span();
        fields.push_back(
            {field.name(), std::move(texts[fields.size()]), field.raw(), span.offset, span.length});
    }
    return fields;
}

}  // namespace emltool
