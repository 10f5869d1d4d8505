#include "tool/view/mime_header.h"

#include <array>
#include <vector>

#include "tool/text/format.h"
#include "tool/view/page_parts.h"

namespace emltool {

namespace {

using emlreader::mime::Address;
using emlreader::mime::Date;
using emlreader::mime::Field;
using emlreader::mime::Part;

constexpr size_t kMaxAddresses = 60;  // of one field; the others are counted

constexpr std::array<std::string_view, 7> kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                   "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 12> kMonths = {"January",   "February", "March",    "April",
                                                      "May",       "June",     "July",     "August",
                                                      "September", "October",  "November", "December"};

std::vector<Address> addressesOf(const Part& root, const std::string& name) {
    std::vector<Address> all;
    for (std::optional<Field> field = root.field(name); field; field = root.field(name, field->index() + 1)) {
        for (Address& each : field->addresses()) {
            if (!each.address.empty() || !each.name.empty()) all.push_back(std::move(each));
        }
    }
    return all;
}

std::string addressText(const Address& address) {
    if (address.name.empty()) return shown(address.address);
    if (address.address.empty()) return shown(address.name);
    return formatted("{} <span class=\"at\">&lt;{}&gt;</span>", shown(address.name), shown(address.address));
}

std::string addressRow(const Part& root, const std::string& name) {
    const std::vector<Address> addresses = addressesOf(root, name);
    std::string text;
    for (size_t i = 0; i < addresses.size() && i < kMaxAddresses; ++i) {
        if (i != 0) text += ", ";
        text += addressText(addresses[i]);
    }
    if (addresses.size() > kMaxAddresses) text += formatted(" and {} more", addresses.size() - kMaxAddresses);
    if (text.empty()) text = shown(root.header(name).value_or(""));
    return text.empty() ? "" : formatted("<dt>{}</dt><dd>{}</dd>\n", name, text);
}

// The date and the time on the sender's clock.
struct Clock {
    explicit Clock(const Date& sent)
        : local(sent.time + sent.zone),
          day(std::chrono::floor<std::chrono::days>(local)),
          date(day),
          time(std::chrono::floor<std::chrono::minutes>(local - day)) {}

    std::chrono::sys_seconds local;
    std::chrono::sys_days day;
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<std::chrono::minutes> time;
};

std::string zoneWords(const Date& date) {
    if ((date.flags & EML_MIME_DATE_NO_ZONE) != 0) return "";
    const auto minutes = date.zone.count();
    if (minutes == 0) return " (UTC)";
    const auto distance = minutes < 0 ? -minutes : minutes;
    return formatted(" ({}{:02}:{:02})", minutes < 0 ? '-' : '+', distance / 60, distance % 60);
}

std::string dateRow(const Part& root) {
    const std::optional<Field> field = root.field("Date");
    if (!field) return "";
    const std::optional<Date> date = field->date();
    return formatted("<dt>Date</dt><dd>{}</dd>\n", shown(date ? dateWords(*date) : field->text()));
}

}  // namespace

std::string dateWords(const Date& date) {
    const Clock clock(date);
    std::string day = formatted("{}, {} {} {}", kDays[std::chrono::weekday(clock.day).c_encoding()],
                                static_cast<unsigned>(clock.date.day()),
                                kMonths[static_cast<unsigned>(clock.date.month()) - 1],
                                static_cast<int>(clock.date.year()));
    if ((date.flags & EML_MIME_DATE_NO_TIME) != 0) return day;
    return formatted("{}, {:02}:{:02}{}", day, clock.time.hours().count(), clock.time.minutes().count(),
                     zoneWords(date));
}

ViewSummary summaryOf(const Part& root) {
    ViewSummary summary;
    summary.subject = root.header("Subject").value_or("");
    const std::vector<Address> from = addressesOf(root, "From");
    if (from.empty()) {
        summary.from = root.header("From").value_or("");
    } else {
        summary.from = from.front().name.empty() ? from.front().address : from.front().name;
    }
    const std::optional<Field> field = root.field("Date");
    const std::optional<Date> date = field ? field->date() : std::nullopt;
    if (date) {
        const Clock clock(*date);
        summary.seconds = date->time.time_since_epoch().count();
        summary.date =
            formatted("{:04}-{:02}-{:02} {:02}:{:02}", static_cast<int>(clock.date.year()),
                      static_cast<unsigned>(clock.date.month()), static_cast<unsigned>(clock.date.day()),
                      clock.time.hours().count(), clock.time.minutes().count());
    }
    return summary;
}

std::string shownSubject(const Part& root) {
    const std::string subject = root.header("Subject").value_or("");
    return subject.empty() ? "(no subject)" : shown(subject);
}

std::string headerTable(const Part& root) {
    std::string rows;
    for (const char* name : {"From", "Reply-To", "To", "Cc", "Bcc"}) rows += addressRow(root, name);
    rows += dateRow(root);
    return rows.empty() ? "" : "<dl>\n" + rows + "</dl>\n";
}

}  // namespace emltool
