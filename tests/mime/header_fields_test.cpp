// Header blocks as fields: whatever the lines hold, each byte is in one field, and the fields are in order.
#include "mime/header_fields.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using eml::FieldLines;
using eml::FieldWalk;

struct Field {
    std::string name;
    std::string value;
    bool operator==(const Field&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Field& field) {
    return out << '[' << field.name << "|" << field.value << ']';
}

// The fields, and that they cover the block without gap or overlap. The text is in a block of exactly its size.
std::vector<Field> fieldsOf(const std::string& header) {
    const std::vector<char> bytes(header.begin(), header.end());
    std::vector<Field> fields;
    FieldLines field{};
    size_t end = 0;
    for (FieldWalk walk({bytes.data(), bytes.size()}); walk.next(field);) {
        EXPECT_EQ(field.start, end);
        EXPECT_GT(field.end, field.start);
        end = field.end;
        fields.push_back({std::string(field.name), std::string(field.value)});
    }
    EXPECT_EQ(end, header.size());
    return fields;
}

TEST(MimeHeaderFields, BlocksAsFields) {
    struct Row {
        const char* rule;
        std::string header;
        std::vector<Field> fields;
    };
    using std::string_literals::operator""s;
    const Row rows[] = {
        {"nothing", "", {}},
        {"CR LF", "A: 1\r\nB: 2\r\n", {{"A", " 1"}, {"B", " 2"}}},
        {"LF", "A: 1\nB: 2\n", {{"A", " 1"}, {"B", " 2"}}},
        {"CR", "A: 1\rB: 2\r", {{"A", " 1"}, {"B", " 2"}}},
        {"all three", "A: 1\rB: 2\nC: 3\r\nD: 4", {{"A", " 1"}, {"B", " 2"}, {"C", " 3"}, {"D", " 4"}}},
        {"CR CR LF is one line end", "A: 1\r\r\nB: 2\r\r\n", {{"A", " 1"}, {"B", " 2"}}},
        {"CR CR is two", "A: 1\r\rB: 2", {{"A", " 1"}, {"", ""}, {"B", " 2"}}},
        {"CR CR CR LF", "A: 1\r\r\r\nB: 2", {{"A", " 1"}, {"", ""}, {"B", " 2"}}},
        {"LF CR is two", "A: 1\n\rB: 2", {{"A", " 1"}, {"", ""}, {"B", " 2"}}},
        {"no line end at the end", "A: 1", {{"A", " 1"}}},
        {"CR at the end", "A: 1\r", {{"A", " 1"}}},
        {"two CR at the end", "A: 1\r\r", {{"A", " 1"}, {"", ""}}},
        {"empty value", "A:\r\nB:\r\n", {{"A", ""}, {"B", ""}}},
        {"no blank after the colon", "A:1\n", {{"A", "1"}}},
        {"blanks before the colon (RFC 5322 section 4.5)", "A \t: 1\n", {{"A", " 1"}}},
        {"colons in the value", "A: b: c\n", {{"A", " b: c"}}},
        {"folded with a blank", "A: 1\r\n 2\r\nB: 3\r\n", {{"A", " 1\r\n 2"}, {"B", " 3"}}},
        {"folded with a tab", "A: 1\n\t2\nB: 3\n", {{"A", " 1\n\t2"}, {"B", " 3"}}},
        {"folded after CR", "A: 1\r 2\rB: 3", {{"A", " 1\r 2"}, {"B", " 3"}}},
        {"folded after CR CR LF", "A: 1\r\r\n 2\r\r\nB: 3", {{"A", " 1\r\r\n 2"}, {"B", " 3"}}},
        {"folded many times", "A:\n 1\n 2\n 3\nB: 4\n", {{"A", "\n 1\n 2\n 3"}, {"B", " 4"}}},
        {"a continuation like a field", "A: 1\n B: 2\n", {{"A", " 1\n B: 2"}}},
        {"a line of blanks continues (section 4.2)",
         "A: 1\n  \n 2\nB: 3\n",
         {{"A", " 1\n  \n 2"}, {"B", " 3"}}},
        {"a line of blanks at the end", "A: 1\n  \n", {{"A", " 1\n  "}}},
        {"a field after blanks that continue nothing", " \tA: 1\n 2\nB: 3", {{"A", " 1\n 2"}, {"B", " 3"}}},
        {"blanks first, and none", "  \nA: 1", {{"", "  "}, {"A", " 1"}}},
        {"a continuation first", " x\nA: 1\n", {{"", " x"}, {"A", " 1"}}},
        {"junk first", "x\nA: 1\n", {{"", "x"}, {"A", " 1"}}},
        {"junk between", "A: 1\nno field here\nB: 2\n", {{"A", " 1"}, {"", "no field here"}, {"B", " 2"}}},
        {"junk last", "A: 1\nx", {{"A", " 1"}, {"", "x"}}},
        {"folded junk", "A: 1\nx\n y\nB: 2\n", {{"A", " 1"}, {"", "x\n y"}, {"B", " 2"}}},
        {"two lines of junk", "x\ny\n", {{"", "x"}, {"", "y"}}},
        {"a mailbox line",
         "From a@b Tue Mar  4 09:15:22 2025\nA: 1\n",
         {{"", "From a@b Tue Mar  4 09:15:22 2025"}, {"A", " 1"}}},
        {"a quoted mailbox line",
         ">From a@b Tue Mar  4 09:15:22 2025\nA: 1\n",
         {{"", ">From a@b Tue Mar  4 09:15:22 2025"}, {"A", " 1"}}},
        {"a name with a quote mark", ">From: a@b\n", {{">From", " a@b"}}},
        {"a blank in the name", "A b: 1\n", {{"", "A b: 1"}}},
        {"no name", ": 1\nA: 1\n", {{"", ": 1"}, {"A", " 1"}}},
        {"an address of a page", "http://x/\nA: 1\n", {{"", "http://x/"}, {"A", " 1"}}},
        {"two slashes after a blank", "A: //x\n", {{"A", " //x"}}},
        {"one slash", "A:/x\n", {{"A", "/x"}}},
        {"NUL in a value", "A: 1\0002\n"s, {{"A", " 1\0002"s}}},
        {"NUL in a name", "A\000B: 1\n"s, {{"", "A\000B: 1"s}}},
        {"NUL first in a line", "A: 1\n\000B: 1\n"s, {{"A", " 1"}, {"", "\000B: 1"s}}},
        {"8-bit name", "\xc3\xa4: 1\n", {{"", "\xc3\xa4: 1"}}},
        {"control character in a name", "A\x01: 1\n", {{"", "A\x01: 1"}}},
        {"DEL in a name", "A\x7f: 1\n", {{"", "A\x7f: 1"}}},
        {"any printable name",
         "!#$%&'*+-./09;<=>?@AZ[\\]^_`az{|}~: 1\n",
         {{"!#$%&'*+-./09;<=>?@AZ[\\]^_`az{|}~", " 1"}}},
        {"the name as written", "cOnTeNt-TyPe: 1\n", {{"cOnTeNt-TyPe", " 1"}}},
        {"duplicates are kept", "A: 1\nA: 2\na: 3\n", {{"A", " 1"}, {"A", " 2"}, {"a", " 3"}}},
        {"a delimiter", "A: 1\n--b\nB: 2\n", {{"A", " 1"}, {"", "--b"}, {"B", " 2"}}},
        {"VT and FF end no line", "A: 1\v2\f3\n", {{"A", " 1\v2\f3"}}},
        {"blanks after the value", "A: 1 \t\r\n", {{"A", " 1 \t"}}},
        {"RFC 5322 section 2.2.3", "Subject: This\r\n is a test\r\n", {{"Subject", " This\r\n is a test"}}},
        {"RFC 5322 appendix A.5: folded after the colon", "To\r\n :x\r\n", {{"", "To\r\n :x"}}},
        {"RFC 5322 appendix A.6.3",
         "From  : John Doe <jdoe@machine(comment).  example>\r\nTo    : Mary Smith\r\n  \r\n",
         {{"From", " John Doe <jdoe@machine(comment).  example>"}, {"To", " Mary Smith\r\n  "}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.rule);
        EXPECT_EQ(fieldsOf(row.header), row.fields);
    }
}

TEST(MimeHeaderFields, LinesThatBeginAField) {
    for (const char* line : {"A:", "A :", "A\t :x", "X-y: z", "a:b:c", "C:\\x", ">x:"}) {
        EXPECT_TRUE(eml::beginsField(line)) << line;
    }
    for (const char* line : {"", ":", " :", "A", "A b:", " A:", "\tA:", "http://x", "A//b", "--x", "\x80:"}) {
        EXPECT_FALSE(eml::beginsField(line)) << line;
    }
}

TEST(MimeHeaderFields, LettersCompareWithoutCase) {
    EXPECT_TRUE(eml::equalNoCase("", ""));
    EXPECT_TRUE(eml::equalNoCase("aBc-1", "AbC-1"));
    EXPECT_FALSE(eml::equalNoCase("a", "ab"));
    EXPECT_FALSE(eml::equalNoCase("[", "{"));
    EXPECT_FALSE(eml::equalNoCase("\xc4", "\xe4"));
}

TEST(MimeHeaderFields, AnyBytesAreCoveredOnce) {
    std::mt19937 random(1);
    const std::string alphabet("ab: \t\r\n\r\n/>\0", 12);
    for (int round = 0; round < 20000; ++round) {
        std::string header(random() % 40, 'x');
        for (char& byte : header) byte = alphabet[random() % alphabet.size()];
        static_cast<void>(fieldsOf(header));
    }
}

TEST(MimeHeaderFields, MixedLineEndsCostLinearTime) {
    // Each line is looked at once: a walk that looked for the far LF again at each CR would not end in our lifetime.
    const std::string header = std::string(8 << 20, '\r') + "\n";
    FieldLines field{};
    size_t count = 0;
    for (FieldWalk walk(header); walk.next(field);) ++count;
    EXPECT_EQ(count, (8U << 20) - 1);  // the last two CR and the LF are one line end
}

}  // namespace
