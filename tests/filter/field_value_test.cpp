// Values of header fields: encoded words, folding and limits, in the stream and in metadata.
#include "filter/field_value.h"

#include <gtest/gtest.h>

#include "filter/scan_dump.h"
#include "support/opened_message.h"

namespace eml::test {
namespace {

// The records of one field without its name.
std::string shownValue(const std::string& field, const std::string& value) {
    const std::string records = headerRecords(field + value + "\r\n\r\n");
    const std::string name = "*'" + (field == "Date:" ? "Sent:" : field) + "'*\\t\\t";
    return records.substr(0, name.size()) == name ? records.substr(name.size()) : "(no field) " + records;
}

std::string metadataValue(const std::string& field, const std::string& value) {
    OpenFilter filter(field + value + "\r\n\r\n");
    const FilterMetadata metadata = filter.metadata({field.c_str()});
    if (metadata.result != EML_OK || metadata.values.size() != 1) return "(failed)";
    if (metadata.values[0].hasValue && !metadata.values[0].terminated) return "(not terminated)";
    return metadata.of(field);
}

struct Row {
    const char* rule;
    std::string value;
    std::string shown;     // in the stream, without the line break at the end
    std::string metadata;  // the value is given without its leading blank
};

void expectValues(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(shownValue("Subject:", row.value), row.shown + "\\n") << row.rule;
        EXPECT_EQ(metadataValue("Subject:", row.value), row.metadata) << row.rule;
    }
}

TEST(FilterFieldValue, DecodesEncodedWords) {
    expectValues({
        {"plain text", " plain text", "' plain text'", "plain text"},
        {"no value", "", "", ""},
        {"quoted-printable", "=?iso-8859-2?Q?ab=E1cd?=",
         "{5}'ab\xE1"
         "cd'{7}",
         "ab\xE1"
         "cd"},
        {"base64", "=?iso-8859-2?B?YWJj?=", "{5}'abc'{7}", "abc"},
        {"lower-case letters", "=?iso-8859-2?q?ab?= =?iso-8859-2?b?YWJj?=", "{5}'ab'{7}{5}'abc'{7}", "ababc"},
        {"the blank in front of a word is text", " =?iso-8859-2?Q?ab?=", "' '{5}'ab'{7}", "ab"},
        {"underscore", "=?us-ascii?Q?ab_cd?=", "'ab cd'", "ab cd"},
        {"the default charset is not announced", "=?iso-8859-1?Q?ab?=", "'ab'", "ab"},
        {"an unknown charset is the default", "=?nonsense?Q?ab?=", "'ab'", "ab"},
        {"no charset", "=??Q?ab?=", "'ab'", "ab"},
        {"another letter is no encoding", "=?iso-8859-2?X?a_b=41?=", "{5}'a_b=41'{7}", "a_b=41"},
        {"text in front and behind", "one =?koi8-r?Q?two?= three", "'one '{6}'two'{7}' three'",
         "one two three"},
        {"no blank between words", "=?us-ascii?Q?ab?==?us-ascii?Q?cd?=", "'ab''cd'", "abcd"},
        {"blanks between words", "=?us-ascii?Q?ab?= \t =?us-ascii?Q?cd?=", "'ab''cd'", "abcd"},
        {"blanks behind the last word", "=?us-ascii?Q?ab?=  ", "'ab''  '", "ab  "},
        {"blanks in front of text", "=?us-ascii?Q?ab?=  cd", "'ab''  cd'", "ab  cd"},
        {"an empty word",
         "=?iso-8859-2?Q?"
         "?=xy",
         "{5}{7}'xy'", "xy"},
        {"a question mark in a word", "=?us-ascii?Q?ab?cd?=", "'ab?cd'", "ab?cd"},
        {"a word that begins with a code", "=?us-ascii?Q?=41=42?=", "'AB'", "AB"},
        {"base64 with padding", "=?us-ascii?B?YWI=?=", "'ab'", "ab"},
    });
}

TEST(FilterFieldValue, TwoWordsInOneCharsetHaveNothingBetweenThem) {
    expectValues({{"each word announces its charset", "=?ISO-8859-2?Q?=B1b?= =?ISO-8859-2?Q?c=B6?=",
                   "{5}'\xB1"
                   "b'{7}{5}'c\xB6'{7}",
                   "\xB1"
                   "bc\xB6"}});
}

// KEPT: after a word the charset is the default one, whatever the charset of the message is.
TEST(FilterFieldValue, WordInAMessageOfAnotherCharsetIsFollowedByTheDefault) {
    EXPECT_EQ(headerRecords("Content-Type: text/plain; charset=koi8-r\r\n"
                            "Subject: one =?iso-8859-2?Q?two?= =?koi8-r?Q?three?=\r\n\r\n"),
              "*'Subject:'*\\t\\t' one '{5}'two'{7}{6}'three'{7}\\n");
}

// A decoded text goes through the step for plain text, with a zero byte after it.
TEST(FilterFieldValue, DecodedTextIsTreatedAsABody) {
    expectValues({
        {"a single byte is dropped", "=?iso-8859-2?Q?a?=", "{5}{7}", ""},
        {"a single byte behind a line end too", "=?us-ascii?Q?ab=0Ac?=", "'ab'\\n", "ab "},
        {"a line end", "=?us-ascii?Q?ab=0Acd?=", "'ab'\\n'cd'", "ab cd"},
        {"CR is dropped", "=?us-ascii?Q?ab=0D=0Acd?=", "'ab'\\n'cd'", "ab cd"},
        {"CR is dropped in base64", "=?us-ascii?B?YWINCmNk?=", "'ab'\\n'cd'", "ab cd"},
        {"a tab", "=?us-ascii?Q?ab=09cd?=", "'ab'\\t'cd'", "abcd"},
        {"a zero byte", "=?us-ascii?Q?ab=00cd?=", "'ab''cd'", "abcd"},
        {"not so in a word without encoding", "=?us-ascii?X?a?=", "'a'", "a"},
        {"nor in plain text", "a", "'a'", "a"},
    });
}

TEST(FilterFieldValue, MalformedWordsShowWhatTheyCan) {
    expectValues({
        {"no second question mark: no more of the line", "ab =?iso-8859-2 cd", "'ab '", "ab "},
        {"the next line goes on", "ab =?iso-8859-2 cd\r\n ef", "'ab ''ef'", "ab ef"},
        {"no second question mark: the charset is announced all the same", "ab =?iso-8859-2", "'ab '{5}{7}",
         "ab "},
        {"and the next line goes on", "=?koi8-r\r\n ef", "{6}{7}'ef'", "ef"},
        {"the default charset is not", "=?us-ascii\r\n ef", "'ef'", "ef"},
        {"nor is a name that is too long", "=?koi8-r" + std::string(60, 'x'), "", ""},
        {"the letter has no question mark behind it", "=?iso-8859-2?Qab?=", "{5}'ab'{7}", "ab"},
        {"no end: to the end of the line", "=?us-ascii?Q?ab cd", "'ab cd'", "ab cd"},
        {"no end: not to the next line", "=?us-ascii?Q?ab\r\n cd?=", "'ab''cd?='", "abcd?="},
        {"nothing behind the charset", "=?iso-8859-2?", "{5}{7}", ""},
        {"nothing behind the letter", "=?iso-8859-2?Q", "{5}{7}", ""},
        {"nothing behind its question mark", "=?iso-8859-2?Q?", "{5}{7}", ""},
        {"only a beginning", "ab=?", "'ab'", "ab"},
        {"an escape that ends with its word", "=?us-ascii?Q?ab=4?=", "'ab\x7F'", "ab\x7F"},
        {"bad base64 is passed over", "=?us-ascii?B?Y!W Jj?=", "'abc'", "abc"},
        {"an end without a beginning", "ab?=cd", "'ab?=cd'", "ab?=cd"},
    });
}

TEST(FilterFieldValue, CharsetNameIsCutAfter63Characters) {
    const std::string name(100, 'x');
    expectValues({{"a long name", "=?" + name + "?Q?ab?=", "'ab'", "ab"},
                  {"utf-8 in front", "=?utf-8" + name + "?Q?ab?=", "'ab'", "ab"}});
}

TEST(FilterFieldValue, FoldedLinesAreJoinedWithNothing) {
    expectValues({
        {"three lines", " one,\r\n two,\r\n\t  three", "' one,''two,''three'", "one,two,three"},
        {"words on two lines", "=?us-ascii?Q?ab?=\r\n =?us-ascii?Q?cd?=", "'ab''cd'", "abcd"},
        {"a line of blanks", "one\r\n \t \r\n two", "'one''two'", "onetwo"},
        {"a value on the second line only", "\r\n one", "'one'", "one"},
        {"blanks at a line end stay", "one \r\n two", "'one ''two'", "one two"},
    });
    for (const std::string lineEnd : {"\n", "\r", "\r\n"}) {
        const std::string message = "Mime-Version: 1.0" + lineEnd + "To: one" + lineEnd + " two" + lineEnd +
                                    "X-Other: 1" + lineEnd + lineEnd;
        EXPECT_EQ(headerRecords(message), "*'To:'*\\t\\t' one''two'\\n") << escaped(lineEnd);
    }
}

TEST(FilterFieldValue, ZeroByteEndsIt) {
    const std::string zero(1, '\0');
    expectValues({
        {"in text", "ab" + zero + "cd", "'ab'", "ab"},
        {"in a word", "=?us-ascii?Q?ab" + zero + "cd?=", "'ab'", "ab"},
        {"in the name of a charset", "=?us" + zero + "-ascii?Q?cd?=", "", ""},
        {"in the name of a charset that is announced", "=?koi8-r" + zero + "?Q?cd?=", "{6}{7}", ""},
        {"what continues it is lost", "ab" + zero + "\r\n cd", "'ab'", "ab"},
    });
}

std::string shownText(const std::string& text) { return std::string("'").append(text).append("'\\n"); }

// A piece that ends a line and has 4081 bytes or more loses its last 16, in fields that are not kept whole.
TEST(FilterFieldValue, LongPiecesLoseTheirEnd) {
    struct Piece {
        size_t length;
        size_t cut;
    };
    for (const Piece piece : {Piece{4079, 4079}, {4080, 4080}, {4081, 4065}, {5000, 4984}, {10000, 9984}}) {
        const std::string value(piece.length, 'v');
        for (const char* const field : {"To:", "Cc:", "Subject:"})
            EXPECT_EQ(shownValue(field, value), shownText(value)) << field << piece.length;
        for (const char* const field : {"From:", "Bcc:", "Date:", "Priority:"})
            EXPECT_EQ(shownValue(field, value), shownText(value.substr(0, piece.cut)))
                << field << piece.length;
        EXPECT_EQ(metadataValue("From:", value), value) << piece.length;
        EXPECT_EQ(metadataValue("To:", value), value) << piece.length;
    }
}

TEST(FilterFieldValue, OnlyThePieceThatEndsALineLosesItsEnd) {
    const std::string value(5000, 'v');
    const std::string cut(4984, 'v');
    const std::string word = "=?us-ascii?Q?ab?=";
    EXPECT_EQ(shownValue("From:", value + word), "'" + value + "''ab'\\n");
    EXPECT_EQ(shownValue("From:", word + value), "'ab''" + cut + "'\\n");
    EXPECT_EQ(shownValue("From:", value + "\r\n " + value), "'" + cut + "''" + cut + "'\\n");
    EXPECT_EQ(shownValue("From:", "=?us-ascii?X?" + value + "?="), "'" + value + "'\\n");
    EXPECT_EQ(shownValue("From:", "=?us-ascii?Q?" + value + "?="), "'" + value + "'\\n");
}

TEST(FilterFieldValue, ManyLongLinesMakeOneValue) {
    std::string value;
    std::string joined;
    for (int i = 0; i < 20; ++i) {
        const std::string line(10000, static_cast<char>('a' + i));
        value += (i == 0 ? "" : "\r\n\t") + line;
        joined += line;
    }
    EXPECT_EQ(metadataValue("Subject:", " " + value), joined);
}

TEST(FilterFieldName, IsBoldAndFollowedByTwoTabs) {
    OpenFilter filter("To: x\r\n\r\n");
    const std::vector<Record> records = recordsOf(filter.stream(65536));
    ASSERT_GE(records.size(), 12U);
    EXPECT_EQ(records[5].tag, 4);
    EXPECT_EQ(records[5].payload, std::string("\x01\x80\0\0", 4));
    EXPECT_EQ(records[6].text(), "To:");
    EXPECT_EQ(records[7].tag, 4);
    EXPECT_EQ(records[7].payload, std::string("\x01\0\0\0", 4));
    for (const size_t i : {8U, 9U}) {
        EXPECT_EQ(records[i].tag, 3);
        EXPECT_EQ(records[i].payload, std::string(1, '\0'));
    }
    EXPECT_EQ(records[10].text(), " x");
    EXPECT_EQ(records[11].tag, 13);
}

// No scan leaves the header block, which is read into a block of exactly its size.
TEST(FilterFieldValue, NothingBehindTheHeaderIsRead) {
    for (const char* const end :
         {"=", "=?", "=?utf-8", "=?utf-8?", "=?utf-8?Q", "=?utf-8?Q?", "=?utf-8?Q?a", "=?utf-8?Q?a?",
          "=?utf-8?Q?=", "=?utf-8?Q?a?=", "=?utf-8?Q?a?= ", "=?utf-8?B?QUJ", "x"}) {
        // The header of a message without an empty line is what the first buffer holds.
        OpenFilter open(std::string("Subject: ") + end, 0, HeapMode::kGuarded);
        (void)open.stream(65536);
        (void)open.metadata();
        const std::string header = std::string("Subject: ") + end + "\r\n";
        OpenFilter closed(header + "\r\n", 0, HeapMode::kGuarded);
        closed.opened().headerLength = static_cast<int32_t>(header.size()) - 2;
        (void)closed.stream(65536);
        (void)closed.metadata();
        EXPECT_EQ(closed.fillResult(), EML_OK) << end;
    }
}

}  // namespace
}  // namespace eml::test
