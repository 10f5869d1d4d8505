#include "tool/text/trace_field.h"

#include <gtest/gtest.h>

#include <array>

#include "tool/text/format.h"

namespace emltool {
namespace {

struct Row {
    const char* rule;
    const char* text;
    const char* clauses;  // from | by | via | with | id | for | other | date
};

std::string clausesOf(const char* text) {
    const TraceField field = parseTraceField(text);
    return formatted("{} | {} | {} | {} | {} | {} | {} | {}", field.from, field.by, field.via, field.with,
                     field.id, field.recipient, field.other, field.date);
}

constexpr std::array kRows = std::to_array<Row>({
    {"nothing", "", " |  |  |  |  |  |  | "},
    {"all clauses",
     "from a.example by b.example via tcp with ESMTP id x1 for <ann@c.example>; Tue, 4 Mar 2025 09:15:22 "
     "+0100",
     "a.example | b.example | tcp | ESMTP | x1 | ann@c.example |  | Tue, 4 Mar 2025 09:15:22 +0100"},
    {"words in any case", "FROM a BY b; today", "a | b |  |  |  |  |  | today"},
    {"comments stay with their clause", "from a (a [192.0.2.1]) by b (Server 1); d",
     "a (a [192.0.2.1]) | b (Server 1) |  |  |  |  |  | d"},
    {"words in comments begin nothing", "from a (by x with y (id z)) by b; d",
     "a (by x with y (id z)) | b |  |  |  |  |  | d"},
    {"a quoted bracket in a comment", "from a (x \\) by y) by b; d", "a (x \\) by y) | b |  |  |  |  |  | d"},
    {"words in quotes begin nothing", "from \"a by b\" by c; d", "\"a by b\" | c |  |  |  |  |  | d"},
    {"words in angle brackets begin nothing", "by b for < with x >; d", " | b |  |  |  | with x |  | d"},
    {"a word that is there again belongs to the value", "by b with HTTP with x; d",
     " | b |  | HTTP with x |  |  |  | d"},
    {"also later", "by b id 1 by c; d", " | b |  |  | 1 by c |  |  | d"},
    {"an empty clause", "from by b; d", " | b |  |  |  |  |  | d"},
    {"the last semicolon counts", "from a; by b; d", "a; | b |  |  |  |  |  | d"},
    {"not one in a comment", "by b; d (x; y)", " | b |  |  |  |  |  | d (x; y)"},
    {"but in one that does not end", "by b (x; d", " | b (x |  |  |  |  |  | d"},
    {"no date", "by b with SMTP", " | b |  | SMTP |  |  |  | "},
    {"several recipients", "by b for <a@x>, <b@x>; d", " | b |  |  |  | <a@x>, <b@x> |  | d"},
    {"something before the first clause", "(qmail 123 invoked by uid 7); 4 Mar 2025 09:15:22 -0000",
     " |  |  |  |  |  | (qmail 123 invoked by uid 7) | 4 Mar 2025 09:15:22 -0000"},
    {"a word that only begins like one", "fromage bypass; d", " |  |  |  |  |  | fromage bypass | d"},
    {"blanks and tabs are one blank", "from a  (a\t[1])\r\n by b; d", "a (a [1]) | b |  |  |  |  |  | d"},
    {"a backslash at the end", "by b (\\", " | b (\\ |  |  |  |  |  | "},
});

TEST(TraceField, Clauses) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(clausesOf(row.text), row.clauses);
    }
}

}  // namespace
}  // namespace emltool
