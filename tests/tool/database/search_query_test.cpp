#include "tool/database/search_query.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/terminal/problem.h"
#include "tool/text/format.h"

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* text;
    const char* query;  // match | exclude | conditions
};

std::string queryOf(const char* text) {
    try {
        const SearchQuery query = parseSearch(text);
        std::string conditions;
        for (const SearchCondition& each : query.conditions) {
            const auto* const number = std::get_if<int64_t>(&each.value);
            conditions +=
                formatted(" {} {};", each.sql,
                          number != nullptr ? formatted("{}", *number) : std::get<std::string>(each.value));
        }
        return formatted("{} | {} |{}", query.match, query.exclude, conditions);
    } catch (const Problem& problem) {
        return problem.text;
    }
}

constexpr std::array kRows = std::to_array<Row>({
    {"nothing", "", " |  |"},
    {"a word", "plan", "((\"plan\")) |  |"},
    {"all words", "plan may", "((\"plan\")) AND ((\"may\")) |  |"},
    {"a phrase", "\"plan for may\"", "((\"plan for may\")) |  |"},
    {"words that begin so", "pla*", "((\"pla\"*)) |  |"},
    {"a phrase whose last word begins so", "\"plan fo\"*", "((\"plan fo\"*)) |  |"},
    {"one of two", "may OR june plan", "((\"may\") OR (\"june\")) AND ((\"plan\")) |  |"},
    {"or in small letters is a word", "may or june", "((\"may\")) AND ((\"or\")) AND ((\"june\")) |  |"},
    {"what must not be there", "plan -draft -old", "(((\"plan\"))) NOT ((\"draft\") OR (\"old\")) |  |"},
    {"nothing but that", "-draft", " | (\"draft\") |"},
    {"a sign alone is no word", "plan - & ...", "((\"plan\")) |  |"},
    {"a hyphen inside", "e-mail", "((\"e-mail\")) |  |"},
    {"quotes of the index itself", "a\"b", "((\"a\"\"b\")) |  |"},
    {"what the index would read as its own", "NEAR( AND NOT",
     "((\"NEAR(\")) AND ((\"AND\")) AND ((\"NOT\")) |  |"},
    {"fields", "from:ann subject:\"the plan\"", "((sender : \"ann\")) AND ((subject : \"the plan\")) |  |"},
    {"both sides", "people:ann@example.org", "(({sender recipients} : \"ann@example.org\")) |  |"},
    {"names in any case", "FROM:Ann", "((sender : \"Ann\")) |  |"},
    {"a field with a prefix", "filename:rep*", "((attachments : \"rep\"*)) |  |"},
    {"a field that must not have it", "plan -from:ann", "(((\"plan\"))) NOT ((sender : \"ann\")) |  |"},
    {"a URL is text", "http://example.org", "((\"http://example.org\")) |  |"},
    {"a time is text", "10:30", "((\"10:30\")) |  |"},
    {"a colon at the end is text", "re: plan", "((\"re:\")) AND ((\"plan\")) |  |"},
    {"dates", "after:2024-03-15 before:2025", " |  | m.time >= ? 1710460800; m.time < ? 1735689600;"},
    {"a month", "after:2024-03", " |  | m.time >= ? 1709251200;"},
    {"attachments", "has:attachment", " |  | m.attachments >= ? 1;"},
    {"none", "-has:attachment", " |  | coalesce(NOT (m.attachments >= ?), 1) 1;"},
    {"lists, ids, conversations", "list:Talk.Example id:a@B thread:0A",
     " |  | lower(m.list_id) = ? talk.example; m.message_id = ? a@B; m.thread = ? 0a;"},
    {"flags", "is:seen", " |  | instr(' ' || coalesce(m.maildir_flags, '') || ' ', ?) > 0  seen ;"},

    {"characters of a script without blanks", "会議",
     " |  | m.id IN (SELECT t.id FROM texts t WHERE instr(lower(coalesce(t.subject, '') || char(10) || "
     "coalesce(t.sender, '') || char(10) || coalesce(t.recipients, '') || char(10) || coalesce(t.body, '') "
     "|| "
     "char(10) || coalesce(t.attachments, '')), ?) > 0) 会議;"},
    {"in a field", "people:ABC会議",
     " |  | m.id IN (SELECT t.id FROM texts t WHERE instr(lower(coalesce(t.sender, '') || char(10) || "
     "coalesce(t.recipients, '')), ?) > 0) abc会議;"},
    {"OR with these", "会議 OR plan", "search: OR stands between two words"},

    {"a field that is none", "form:ann",
     "search: form: is no field to search; did you mean from:?; in quotes, \"form:ann\" is text"},
    {"a quote that does not end", "\"plan", "search: a quote that does not end"},
    {"no date", "after:soon", "search: after:soon: not a date like 2024, 2024-03 or 2024-03-15"},
    {"no day", "after:2024-02-30", "search: after:2024-02-30: not a date like 2024, 2024-03 or 2024-03-15"},
    {"OR at the beginning", "OR may", "search: OR stands between two words"},
    {"OR at the end", "may OR", "search: OR stands between two words"},
    {"OR twice", "may OR OR june", "search: OR stands between two words"},
    {"OR before a condition", "may OR has:attachment", "search: OR stands between two words"},
    {"OR after one", "has:attachment OR may", "search: OR stands between two words"},
    {"OR and not", "may OR -june", "search: OR stands between two words"},
    {"has something else", "has:legs", "search: has:legs: there is has:attachment"},
});

TEST(SearchQuery, Rules) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(queryOf(row.text), row.query);
    }
}

TEST(SearchQuery, ADateBeginsAtMidnightByUtc) {
    EXPECT_EQ(beginningOfDate("1970"), 0);
    EXPECT_EQ(beginningOfDate("1970-01-02"), 86400);
    EXPECT_EQ(beginningOfDate("1969-12-31"), -86400);
    for (const char* const text :
         {"", "197", "1970-", "1970-1", "1970-01-1", "1970-13", "1970/01", "19x0", "+970"})
        EXPECT_EQ(beginningOfDate(text), std::nullopt) << text;
}

}  // namespace
}  // namespace emltool
