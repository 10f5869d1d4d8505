#include "tool/message/header_facts.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/message/mime_fields.h"
#include "tool/text/format.h"

namespace emltool {
namespace {

using emlreader::mime::Message;

HeaderFacts factsOf(const std::string& header) {
    return readHead(Message::fromBytes(header + "\r\n"), 0).facts;
}

struct Row {
    const char* rule;
    const char* header;
    const char* answer;
};

std::string addressesOf(const char* header) {
    std::string text;
    for (const MailAddress& each : factsOf(header).addresses)
        text += formatted("[{}|{}|{}|{}]", each.field, each.name, each.address, each.group);
    return text;
}

constexpr std::array kAddresses = std::to_array<Row>({
    {"none", "Subject: x\r\n", ""},
    {"a name and an address", "From: Zo\xC3\xAB <z@example.net>\r\n", "[from|Zo\xC3\xAB|z@example.net|]"},
    {"an encoded name", "From: =?utf-8?q?Zo=C3=AB?= <z@example.net>\r\n", "[from|Zo\xC3\xAB|z@example.net|]"},
    {"an address alone", "TO: a@x\r\n", "[to||a@x|]"},
    {"several, in the order of the fields", "To: a@x, B <b@x>\r\nFrom: c@x\r\nTo: d@x\r\n",
     "[to||a@x|][to|B|b@x|][from||c@x|][to||d@x|]"},
    {"a group", "Cc: Team: a@x, b@x;, c@x\r\n", "[cc||a@x|Team][cc||b@x|Team][cc||c@x|]"},
    {"an empty group", "To: undisclosed-recipients:;\r\n", "[to|||undisclosed-recipients]"},
    {"fields of other names with addresses", "Reply-To: a@x\r\nResent-To: b@x\r\nSender: c@x\r\n",
     "[reply-to||a@x|][resent-to||b@x|][sender||c@x|]"},
    {"a field that has none", "X-To: a@x\r\n", ""},
    {"in another charset", "Content-Type: text/plain; charset=iso-8859-1\r\nFrom: Zo\xEB <z@x>\r\n",
     "[from|Zo\xC3\xAB|z@x|]"},
});

TEST(HeaderFacts, Addresses) {
    for (const Row& row : kAddresses) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(addressesOf(row.header), row.answer);
    }
}

constexpr std::array kLists = std::to_array<Row>({
    {"none", "Subject: x\r\n", ""},
    {"a name and the id", "List-Id: The Talk <talk.example.org>\r\n", "talk.example.org"},
    {"the id alone", "List-ID: talk.example.org\r\n", "talk.example.org"},
    {"brackets in the name", "List-Id: \"a <b>\" <talk.example.org>\r\n", "talk.example.org"},
    {"no end", "List-Id: a <b\r\n", "a <b"},
    {"the first that says something", "List-Id: <>\r\nList-Id: <a>\r\n", "a"},
});

TEST(HeaderFacts, TheListIsTheOneInAngleBrackets) {
    for (const Row& row : kLists) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(factsOf(row.header).listId, row.answer);
    }
}

constexpr std::array kDates = std::to_array<Row>({
    {"none", "Subject: x\r\n", " / "},
    {"in another zone", "Date: Tue, 4 Mar 2025 00:15:22 +0100\r\n",
     "2025-03-04T00:15:22+01:00 / 2025-03-03T23:15:22Z"},
    {"without a zone", "Date: 4 Mar 2025 09:15:22\r\n", "2025-03-04T09:15:22-00:00 / 2025-03-04T09:15:22Z"},
    {"the first counts, though it cannot be read", "Date: soon\r\nDate: 4 Mar 2025 09:15:22 +0000\r\n",
     " / "},
    {"of a header that is converted", "Subject: caf\xE9\r\nDate: 4 Mar 2025 09:15:22 -0200\r\n",
     "2025-03-04T09:15:22-02:00 / 2025-03-04T11:15:22Z"},
});

TEST(HeaderFacts, DatesAreThoseOfTheSenderAndOfUtc) {
    for (const Row& row : kDates) {
        SCOPED_TRACE(row.rule);
        const HeaderFacts facts = factsOf(row.header);
        EXPECT_EQ(facts.date + " / " + facts.dateUtc, row.answer);
    }
}

TEST(HeaderFacts, StepsKeepTheirOrderAndTheirDates) {
    const HeaderFacts facts = factsOf(
        "Received: from b by c; Tue, 4 Mar 2025 09:15:24 +0100\r\n"
        "Received: by b; no date\r\n"
        "Received: from a\r\n by b;\r\n Tue, 4 Mar 2025 08:15:22 +0000 (UTC)\r\n"
        "Received: by a\r\n");
    std::string text;
    for (const TraceField& step : facts.received)
        text += formatted("[{}|{}|{}]", step.from, step.by, step.date);
    EXPECT_EQ(text, "[b|c|2025-03-04T09:15:24+01:00][|b|][a|b|2025-03-04T08:15:22+00:00][|a|]");
}

TEST(HeaderFacts, NothingInAStepBecomesAFieldOfItsOwn) {
    const HeaderFacts facts = factsOf(
        "Received: by a; x\x0B\rDate: 4 Mar 2025 09:15:22 +0000\r\nReceived: by b; 5 Mar 2025 09:15:22 "
        "+0000\r\n");
    ASSERT_EQ(facts.received.size(), 2u);
    EXPECT_EQ(facts.received[1].date, "2025-03-05T09:15:22+00:00");
}

}  // namespace
}  // namespace emltool
