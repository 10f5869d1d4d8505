#include "tool/view/calendar_card.h"

#include <array>

#include "tool/text/format.h"
#include "tool/view/page_parts.h"

namespace emltool {

namespace {

struct Words {
    std::string_view code;
    std::string_view text;
};

constexpr std::array<Words, 8> kMethods = {{{"REQUEST", "Invitation"},
                                            {"CANCEL", "Cancelled"},
                                            {"REPLY", "Answer to an invitation"},
                                            {"COUNTER", "Proposal for another time"},
                                            {"DECLINECOUNTER", "The other time was declined"},
                                            {"ADD", "More dates"},
                                            {"REFRESH", "Request for the latest version"},
                                            {"PUBLISH", "Event"}}};

constexpr std::array<Words, 5> kAnswers = {{{"ACCEPTED", "accepted"},
                                            {"DECLINED", "declined"},
                                            {"TENTATIVE", "maybe"},
                                            {"DELEGATED", "delegated"},
                                            {"NEEDS-ACTION", "no answer yet"}}};

template <size_t N>
std::string_view wordsFor(const std::array<Words, N>& table, std::string_view code,
                          std::string_view otherwise) {
    for (const Words& row : table) {
        if (row.code == code) return row.text;
    }
    return otherwise;
}

std::string personText(const CalendarPerson& person) {
    std::string text =
        person.name.empty() || person.name == person.address
            ? shown(person.address)
            : formatted("{} <span class=\"at\">{}</span>", shown(person.name), shown(person.address));
    const std::string_view answer = wordsFor(kAnswers, person.answer, "");
    if (!answer.empty()) text += formatted(" <small>{}</small>", answer);
    return text;
}

std::string row(std::string_view name, const std::string& value) {
    return value.empty() ? "" : formatted("<dt>{}</dt><dd>{}</dd>\n", name, value);
}

std::string kindText(const Calendar& calendar, const CalendarEvent& event) {
    if (event.status == "CANCELLED" || calendar.method == "CANCEL") return "Cancelled";
    if (calendar.method == "REQUEST" && event.sequence > 0) return "Invitation, changed";
    return std::string(wordsFor(kMethods, calendar.method, "Event"));
}

std::string who(const CalendarEvent& event) {
    if (event.attendees.empty()) return "";
    std::string items;
    for (const CalendarPerson& person : event.attendees) items += "<li>" + personText(person) + "</li>";
    if (event.moreAttendees != 0) items += formatted("<li>and {} more</li>", event.moreAttendees);
    return "<ul>" + items + "</ul>";
}

std::string card(const Calendar& calendar, const CalendarEvent& event) {
    const std::string kind = kindText(calendar, event);
    const std::string when = whenText(event);
    std::string text = formatted("<section class=\"event{}\">\n<p class=\"kind\">{}</p>\n<h3>{}</h3>\n<dl>\n",
                                 kind == "Cancelled" ? " off" : "", kind,
                                 event.summary.empty() ? "(no title)" : shown(event.summary));
    text += row("When", when.empty() ? "" : "<strong>" + shown(when) + "</strong>");
    text += row("Repeats", event.rule.empty() ? "" : shown(recurrenceText(event.rule)));
    text += row("Where", shown(event.location));
    text += row("Organizer", event.organizer.address.empty() && event.organizer.name.empty()
                                 ? ""
                                 : personText(event.organizer));
    text += row("Who", who(event));
    text += "</dl>\n";
    for (const std::string* words : {&event.comment, &event.description}) {
        if (words->find_first_not_of(" \t\r\n") != std::string::npos) {
            text += "<p class=\"more\">" + shownLines(*words) + "</p>\n";
        }
    }
    return text + "</section>\n";
}

}  // namespace

std::string calendarCards(const Calendar& calendar) {
    std::string cards;
    for (const CalendarEvent& event : calendar.events) cards += card(calendar, event);
    if (calendar.moreEvents != 0)
        cards += note(formatted("The calendar has {} more events.", calendar.moreEvents));
    return cards;
}

}  // namespace emltool
