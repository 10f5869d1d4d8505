#include "tool/message/field_list.h"

#include <gtest/gtest.h>

#include <array>

namespace emltool {
namespace {

using emlreader::mime::Message;

struct Row {
    const char* rule;
    const char* field;  // with its line end
    const char* name;
    const char* text;
};

constexpr std::array kRows = std::to_array<Row>({
    {"a name as written", "SUBJECT: a\n", "SUBJECT", "a"},
    {"folded, and words decoded", "Subject: =?utf-8?Q?Z=C3=B6?=\n =?utf-8?Q?e?= order\n before\n", "Subject",
     "Z\xC3\xB6"
     "e order before"},
    {"addresses", "To: =?utf-8?Q?Zo=C3=AB?= <z@example.net>,\n b@example.org\n", "To",
     "Zo\xC3\xAB <z@example.net>, b@example.org"},
    {"a name with a comma is quoted", "From: \"Doe, J\\\"o\" <j@example.org>\n", "From",
     "\"Doe, J\\\"o\" <j@example.org>"},
    {"groups", "Cc: Friends: a@x.org, b@x.org;, c@x.org\n", "Cc", "Friends: a@x.org, b@x.org;, c@x.org"},
    {"an empty group", "To: undisclosed-recipients:;\n", "To", "undisclosed-recipients:;"},
    {"a date with its zone", "Date: Tue, 4 Mar 2025 09:15:22 +0100\n", "Date", "2025-03-04T09:15:22+01:00"},
    {"a zone west of UTC", "Resent-Date: 4 Mar 2025 01:02:03 -0330\n", "Resent-Date",
     "2025-03-04T01:02:03-03:30"},
    {"a zone that RFC 3339 cannot write", "Date: Tue, 4 Mar 2025 09:15:22 +2530\n", "Date",
     "2025-03-04T09:15:22-00:00"},
    {"a date without a zone", "Date: Tue, 4 Mar 2025 09:15:22 -0000\n", "Date", "2025-03-04T09:15:22-00:00"},
    {"a date that cannot be read stays text", "Date: whenever =?utf-8?Q?=C3=B6?=\n", "Date",
     "whenever \xC3\xB6"},
    {"an empty field", "X-Empty:\n", "X-Empty", ""},
});

TEST(FieldList, TextOfEachKind) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        const std::string message = std::string(row.field) + "\nbody\n";
        const std::vector<ListedField> fields = fieldList(Message::fromBytes(message));
        ASSERT_EQ(fields.size(), 1u);
        EXPECT_EQ(fields[0].name, row.name);
        EXPECT_EQ(fields[0].text, row.text);
        const auto offset = static_cast<size_t>(fields[0].offset);
        EXPECT_EQ(message.substr(offset, static_cast<size_t>(fields[0].length)), row.field);
    }
}

TEST(FieldList, OrderAndDuplicatesAreKept) {
    const Message message = Message::fromBytes("B: 1\nA: 2\nb: 3\n\nx\n");
    const std::vector<ListedField> fields = fieldList(message);
    ASSERT_EQ(fields.size(), 3u);
    EXPECT_EQ(fields[0].name + fields[1].name + fields[2].name, "BAb");
    EXPECT_EQ(fields[0].text + fields[1].text + fields[2].text, "123");
}

TEST(FieldList, RawIsAsWritten) {
    const Message message = Message::fromBytes("Subject: =?utf-8?Q?a?=\r\n b\r\n\r\nx\r\n");
    EXPECT_EQ(fieldList(message).at(0).raw, " =?utf-8?Q?a?=\r\n b");
}

TEST(FieldList, AYearOfFiveDigitsHasNoText) {
    emlreader::mime::Date date{};
    date.time = std::chrono::sys_seconds(std::chrono::seconds(int64_t{1} << 40));
    EXPECT_EQ(dateText(date), "");
    date.time = std::chrono::sys_seconds(std::chrono::seconds(-(int64_t{1} << 40)));
    EXPECT_EQ(dateText(date), "");
}

}  // namespace
}  // namespace emltool
